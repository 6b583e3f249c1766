#include "Configuration/WorkingTree.h"

#include "api_helper.h"

#include <algorithm>
#include <utility>

namespace Ravik
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

/// Smaller maps close up at once.
constexpr std::size_t smallest_map = 256;

} // namespace

Value& WorkingTree::get()
{
    if (!m_gone.empty())
    {
        Tree::remove_at(*RavikSrv::node_path(m_parent, m_tree).node, m_gone);
        m_gone.clear();
    }
    return m_tree;
}

ErrorValue WorkingTree::remove(std::string const& path, std::vector<Tree::Change>& changes)
{
    auto const place = Tree::split_last(path);
    auto const* const map = Tree::has_empty_component(path) ? nullptr : map_of(place);
    return map == nullptr ? Tree::remove(get(), path, changes) : put_off(*map, place, changes);
}

Value const* WorkingTree::map_of(Tree::SplitPath const& place)
{
    if (!m_gone.empty() && place.parent != m_parent)
    {
        return nullptr;
    }
    auto const* const map = RavikSrv::node_path(place.parent, std::as_const(m_tree)).node;
    auto const is_large = map != nullptr && map->type() == ValueType::Map && map->size() >= smallest_map;
    return is_large && map->find(place.name.c_str()) != map->end() ? map : nullptr;
}

ErrorValue WorkingTree::put_off(Value const& map, Tree::SplitPath const& place, std::vector<Tree::Change>& changes)
{
    auto const entry = map.find(place.name.c_str());
    auto const position = static_cast<std::size_t>(&*entry - &*map.begin());
    auto const behind = std::lower_bound(m_gone.begin(), m_gone.end(), position);
    if (behind != m_gone.end() && *behind == position)
    {
        return ErrorValue::ENTRY_NOT_FOUND;
    }
    changes.push_back({.parent = place.parent,
                       .name = place.name,
                       .before = *entry,
                       .after = std::nullopt,
                       .position = position - static_cast<std::size_t>(behind - m_gone.begin())});
    m_parent = place.parent;
    m_gone.insert(behind, position);
    return ErrorValue::SUCCESS;
}

} // namespace Ravik
