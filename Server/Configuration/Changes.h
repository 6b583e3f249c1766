#pragma once

#include "Configuration/tree.h"
#include "RavikSrvExtApi.h"

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace Ravik
{

/// A place of a domain's configuration that was written or removed.
struct Touched
{
    std::string domain;
    std::string path;
    bool removed = false;

    friend auto operator<=>(Touched const& left, Touched const& right) = default;
};

/// What an edit changed, in the order of its making: a plain value that can be made once more, taken back and shown.
/// Does no locking.
class Changes
{
public:
    struct Entry
    {
        std::string domain;
        Tree::Change change;
    };

    /// The tree of a domain, which is there as long as the changes are worked on.
    using TreeOf = std::function<RavikSrv::Value&(std::string const& domain)>;

    void add(std::string const& domain, std::vector<Tree::Change> made);
    /// Adds what was changed after these.
    void append(Changes later);
    void clear() noexcept { m_entries.clear(); }

    /// Makes the changes in trees that stand as the first ones did before them.
    void apply(TreeOf const& tree_of) const;
    /// Takes them back, the last one first, in trees that stand as they left them.
    void take_back(TreeOf const& tree_of) const;

    /// The places that were changed, from the change of that number on.
    std::vector<Touched> touched(std::size_t first = 0) const;

    std::size_t size() const noexcept { return m_entries.size(); }
    bool empty() const noexcept { return m_entries.empty(); }
    auto begin() const noexcept { return m_entries.begin(); }
    auto end() const noexcept { return m_entries.end(); }

private:
    std::map<std::string, std::vector<Tree::Change const*>> by_domain() const;

    std::vector<Entry> m_entries;
};

} // namespace Ravik
