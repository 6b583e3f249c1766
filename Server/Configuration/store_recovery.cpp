#include "Configuration/store_recovery.h"

#include "Configuration/Entry.h"
#include "Configuration/StoreError.h"
#include "Configuration/place_changes.h"
#include "Configuration/tree.h"

#include <vector>

namespace Ravik
{

using RavikSrv::Value;

namespace
{

/// Inside an entry that is not known nothing can be written.
void make(PlaceChange const& place, Value& tree)
{
    std::vector<Tree::Change> changes;
    if (!place.after)
    {
        static_cast<void>(Tree::remove(tree, place.path, changes));
        return;
    }
    auto const mode = place.inside ? Tree::WriteMode::Replace : Tree::WriteMode::ReplaceInPath;
    static_cast<void>(Tree::write(tree, place.path, *place.after, mode, changes));
}

} // namespace

void Recovery::take(StoredRecord const& record)
{
    auto const goes_on = record.id == m_last + 1;
    m_last = record.id;
    if (!goes_on)
    {
        m_trees.clear();
    }
    try
    {
        for (auto const& place : read_places(record.places))
        {
            make(place, m_trees.try_emplace(place.domain, RavikSrv::ValueType::Map).first->second);
        }
    }
    catch (StoreError const&)
    {
        m_trees.clear();
    }
}

void Recovery::for_each(
    std::function<void(std::string const& domain, std::string const& path, Value const& entry)> const& visit) const
{
    for (auto const& [name, tree] : m_trees)
    {
        for_each_entry("", tree,
                       [&visit, &domain = name](std::string const& path, Value const& entry, EntryKind kind)
                       {
                           if (kind == EntryKind::Recipe || kind == EntryKind::RecipeType)
                           {
                               visit(domain, path, entry);
                           }
                           return true;
                       });
    }
}

} // namespace Ravik
