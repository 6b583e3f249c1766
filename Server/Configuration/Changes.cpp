#include "Configuration/Changes.h"

#include <iterator>
#include <utility>

namespace Ravik
{

void Changes::add(std::string const& domain, std::vector<Tree::Change> made)
{
    for (auto& change : made)
    {
        m_entries.push_back({.domain = domain, .change = std::move(change)});
    }
}

void Changes::append(Changes later)
{
    std::move(later.m_entries.begin(), later.m_entries.end(), std::back_inserter(m_entries));
}

/// Those of each domain, in their order.
std::map<std::string, std::vector<Tree::Change const*>> Changes::by_domain() const
{
    std::map<std::string, std::vector<Tree::Change const*>> domains;
    for (auto const& [domain, change] : m_entries)
    {
        domains[domain].push_back(&change);
    }
    return domains;
}

void Changes::apply(TreeOf const& tree_of) const
{
    for (auto const& [domain, changes] : by_domain())
    {
        Tree::apply(tree_of(domain), changes);
    }
}

void Changes::take_back(TreeOf const& tree_of) const
{
    for (auto const& [domain, changes] : by_domain())
    {
        Tree::take_back(tree_of(domain), changes);
    }
}

std::vector<Touched> Changes::touched(std::size_t first) const
{
    std::vector<Touched> places;
    places.reserve(m_entries.size() - first);
    for (auto index = first; index != m_entries.size(); ++index)
    {
        auto const& [domain, change] = m_entries[index];
        places.push_back(
            {.domain = domain, .path = Tree::join(change.parent, change.name), .removed = change.is_removal()});
    }
    return places;
}

} // namespace Ravik
