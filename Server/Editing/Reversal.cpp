#include "Editing/Reversal.h"

#include "Configuration/Entry.h"
#include "Configuration/tree.h"
#include "api_helper.h"
#include "Json/Json.h"

#include <algorithm>

namespace Ravik
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

Value const* standing(Value const& tree, std::string const& path)
{
    return RavikSrv::node_path(path, tree).node;
}

/// Whether what stands is what a record tells. A record holds values as they are read from the store.
bool is_same(Value const* present, std::optional<Value> const& told)
{
    if (present == nullptr || !told)
    {
        return (present == nullptr) == !told;
    }
    return *present == *told || (Json::obstacle(*present).empty() && Json::parse(Json::write(*present)) == *told);
}

bool is_folder(std::string const& path, Value const* value)
{
    return value != nullptr && kind_of(path, *value) == EntryKind::Folder;
}

} // namespace

Reversal::Reversal(std::vector<PlaceChange> const& places, Value const& tree) : m_tree(tree), m_target(tree)
{
    for (auto const& place : places)
    {
        if (!is_as_left(place) && !is_reverted(place))
        {
            m_changed_since.push_back(place.path);
        }
    }
    if (!m_changed_since.empty())
    {
        return;
    }
    // What was made goes before its folder does, and what was removed comes behind its folder.
    std::for_each(places.rbegin(), places.rend(), [this](PlaceChange const& place) { take_away(place); });
    std::for_each(places.begin(), places.end(), [this](PlaceChange const& place) { put_back(place); });
}

/// Whether the place stands as the edit left it; a folder may hold anything.
bool Reversal::is_as_left(PlaceChange const& place) const
{
    auto const* const present = standing(m_tree, place.path);
    if (place.is_folder())
    {
        return present == nullptr || is_folder(place.path, present);
    }
    // Inside an entry that is gone nothing can be put back.
    auto const has_parent = !place.inside || standing(m_tree, Tree::split_last(place.path).parent) != nullptr;
    return has_parent && is_same(present, place.after);
}

bool Reversal::is_reverted(PlaceChange const& place) const
{
    auto const has_parent = !place.inside || standing(m_tree, Tree::split_last(place.path).parent) != nullptr;
    return has_parent && is_same(standing(m_tree, place.path), place.before);
}

void Reversal::take_away(PlaceChange const& place)
{
    auto const* const present = standing(m_target, place.path);
    auto const is_kept = place.is_folder() && present != nullptr && !present->empty();
    if (!place.before && present != nullptr && !is_kept)
    {
        make(place, std::nullopt);
    }
}

void Reversal::put_back(PlaceChange const& place)
{
    auto const* const present = standing(m_target, place.path);
    if (place.before && !(place.is_folder() ? present != nullptr : is_same(present, place.before)))
    {
        make(place, place.before);
    }
}

void Reversal::make(PlaceChange const& place, std::optional<Value> const& value)
{
    m_moves_entries = m_moves_entries || !place.inside;
    auto const owner = locate(place.path, value ? m_tree : m_target).owner;
    std::vector<Tree::Change> changes;
    auto const result = value ? Tree::write(m_target, place.path, *value, Tree::WriteMode::ReplaceInPath, changes)
                              : Tree::remove(m_target, place.path, changes);
    if (result != ErrorValue::SUCCESS)
    {
        m_changed_since.push_back(place.path);
        return;
    }
    m_steps.push_back({.path = place.path, .value = value});
    auto const& touched = place.inside ? owner : place.path;
    standing(m_target, touched) != nullptr ? m_changed.insert(touched) : m_gone.insert(touched);
}

} // namespace Ravik
