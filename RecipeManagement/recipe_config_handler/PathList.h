#pragma once

#include <boost/multi_index/hashed_index.hpp>
#include <boost/multi_index/identity.hpp>
#include <boost/multi_index/sequenced_index.hpp>
#include <boost/multi_index_container.hpp>

#include <string>

namespace RecipeManagement
{

/// Configuration paths in the order in which they were added, each once. Finding a path takes constant time. A regular
/// value without a lock of its own.
class PathList
{
public:
    /// Appends the path unless it is in the list.
    void add(std::string const& path) { m_paths.push_back(path); }
    bool contains(std::string const& path) const { return m_paths.get<by_path>().contains(path); }
    /// Removes the paths for which `is_removed(path)` holds.
    template <typename Predicate> void remove_if(Predicate const& is_removed) { m_paths.remove_if(is_removed); }

    auto begin() const noexcept { return m_paths.begin(); }
    auto end() const noexcept { return m_paths.end(); }

private:
    static constexpr int by_path = 1;

    using Order = boost::multi_index::sequenced<>;
    using ByPath = boost::multi_index::hashed_unique<boost::multi_index::identity<std::string>>;

    boost::multi_index_container<std::string, boost::multi_index::indexed_by<Order, ByPath>> m_paths;
};

} // namespace RecipeManagement
