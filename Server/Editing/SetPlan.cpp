#include "Editing/SetPlan.h"

#include "Configuration/Entry.h"
#include "Configuration/tree.h"
#include "Editing/edit_rules.h"
#include "Editing/entry_checks.h"
#include "api_helper.h"

#include <utility>

namespace Ravik
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;

namespace
{

/// The path of what a change at `path` touches: the entry around it, or a folder that becomes an entry by it.
std::string subject_of(std::string const& path, Value const& tree)
{
    auto const place = locate(path, tree);
    if (place.kind == EntryKind::Inside)
    {
        return place.owner;
    }
    auto const first_missing = Tree::split_last(place.owner);
    auto const is_missing = RavikSrv::node_path(place.owner, tree).node == nullptr;
    return is_missing && makes_entry(first_missing.parent, first_missing.name) ? first_missing.parent : path;
}

} // namespace

SetPlan::SetPlan(std::string path, Value const& value, Value const& tree)
    : m_path(std::move(path)), m_subject(subject_of(m_path, tree)), m_folders(Tree::missing_parents(tree, m_path))
{
    if (auto const* const present = RavikSrv::node_path(m_subject, tree).node; present != nullptr)
    {
        m_before = Tree::alone(m_subject, *present);
    }
    m_after = m_before;
    std::vector<Tree::Change> changes;
    m_error = Tree::write(m_after, m_path, value, Tree::WriteMode::ReplaceInPath, changes);
}

Refusal SetPlan::check(EntrySchemas const& schemas) const
{
    if (m_error != ErrorValue::SUCCESS)
    {
        return {m_error, "the path leads through something that holds no entries", m_path};
    }
    if (auto refusal = check_form(m_path, m_after))
    {
        return refusal;
    }
    for (auto const& folder : m_folders)
    {
        auto const place = Tree::split_last(folder);
        if (auto refusal = place.parent.empty() ? Refusal() : check_name(place.parent, place.name))
        {
            return refusal;
        }
    }
    auto refusal = check_set(m_subject, m_before, m_after);
    refusal = refusal ? refusal : check_entries(schemas, locate(m_subject, m_after).owner, m_after);
    return refusal ? refusal : check_schemas();
}

/// Whether the schemas that the edit brings can be used; one that stood there before is no fault of it.
Refusal SetPlan::check_schemas() const
{
    Refusal refusal;
    for_each_entry(locate(m_subject, m_after).owner, m_after,
                   [&](std::string const& path, Value const& entry, EntryKind kind)
                   {
                       auto const all =
                           kind == EntryKind::RecipeType ? broken_schemas(path, entry) : std::vector<Refusal>();
                       for (auto const& broken : all)
                       {
                           auto const* const before = RavikSrv::node_path(broken.path, m_before).node;
                           auto const* const after = RavikSrv::node_path(broken.path, m_after).node;
                           refusal = before == nullptr || *before != *after ? broken : refusal;
                       }
                       return !refusal;
                   });
    return refusal;
}

std::vector<std::string> SetPlan::types() const
{
    std::vector<std::string> paths;
    for_each_entry(locate(m_subject, m_after).owner, m_after,
                   [&paths](std::string const& path, Value const& /*entry*/, EntryKind kind)
                   {
                       if (kind == EntryKind::RecipeType)
                       {
                           paths.push_back(path);
                       }
                       return true;
                   });
    return paths;
}

std::string SetPlan::new_owner() const
{
    auto const place = locate(m_path, m_after);
    auto const is_new = RavikSrv::node_path(place.owner, m_before).node == nullptr ||
                        locate(place.owner, m_before).kind == EntryKind::Folder;
    return place.kind == EntryKind::Inside && is_new ? place.owner : std::string();
}

bool SetPlan::keeps_order(Value const& tree) const
{
    if (auto const owner = new_owner(); !owner.empty())
    {
        return is_last_entry(owner, tree);
    }
    auto const before = entry_paths(m_subject, m_before);
    auto const after = entry_paths(m_subject, m_after);
    // A folder that is set as a whole may hold its entries in another order than before.
    return before == after || (before.empty() && after.size() == 1 && is_last_entry(after.front(), tree));
}

} // namespace Ravik
