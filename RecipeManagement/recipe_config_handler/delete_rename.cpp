#include "RavikRecipeManagement.h"
#include "configuration_keys.h"
#include "recipe_config_handler/DeleteRename.h"
#include "result_pair.h"

#include "algorithm_helper.h"
#include "boundary_guard.h"

#include <utility>

namespace RecipeManagement
{

ResultPair RavikRecipeManagement::on_delete(Context context, char const* path, Value const& /*value*/,
                                            char const* /*schema_type*/)
{
    return RavikSrv::guarded_result("on_delete", [&] { return delete_rename(context, path, ""); });
}

ResultPair RavikRecipeManagement::on_rename(Context context, char const* path, char const* new_path,
                                            char const* /*schema_type*/)
{
    return RavikSrv::guarded_result("on_rename", [&] { return delete_rename(context, path, new_path); });
}

ResultPair RavikRecipeManagement::delete_rename(Context const& context, std::string const& old_path,
                                                std::string const& new_path)
{
    PathChange const change(old_path, new_path);
    return DeleteRename(call_in(context), change, stored_recipes(), stored_recipe_types()).delete_rename();
}

DeleteRename::DeleteRename(Call const& call, PathChange change, StoredPaths const& recipes,
                           StoredPaths const& recipe_types)
    : m_call(call), m_change(std::move(change)), m_recipes(recipes), m_recipe_types(recipe_types)
{
}

ResultPair DeleteRename::delete_rename()
{
    delete_rename_path();
    m_snapshot = m_call.read_configuration();
    auto const& old_path = m_change.old_path;
    ResultPair result;
    if (Algorithm::starts_with(old_path, Key::recipe_type_list))
    {
        if (Algorithm::contains(old_path, Key::members) || Algorithm::contains(old_path, Key::recipe_type_names))
        {
            result = delete_rename_recipe_values();
        }
        if (!failed(result))
        {
            result = delete_rename_recipetype();
        }
    }
    else if (Algorithm::starts_with(old_path, Key::recipe_list))
    {
        result = delete_rename_recipe_references();
    }
    return failed(result) ? result : ResultPair(ErrorValue::SUCCESS);
}

// Stored paths --------------------------------------------------------------------------------------------------------

namespace
{

/// The list after a rename. What lies below the old path keeps its place; an entry that is renamed itself goes to the
/// end, but only where nothing else was rewritten.
PathList renamed_paths(PathList const& paths, std::string const& old_path, std::string const& new_path)
{
    PathList renamed;
    auto is_any_rewritten = false;
    for (auto path : paths)
    {
        if (path == old_path)
        {
            continue;
        }
        is_any_rewritten |= Algorithm::replace(path, old_path, new_path);
        renamed.add(path);
    }
    if (!is_any_rewritten)
    {
        renamed.add(new_path);
    }
    return renamed;
}

} // namespace

void DeleteRename::delete_rename_path() const
{
    auto const& old_path = m_change.old_path;
    auto const& new_path = m_change.new_path;
    // A change inside an entry does not move the entry.
    if (Algorithm::contains(old_path, Key::members) || Algorithm::contains(old_path, Key::values))
    {
        return;
    }
    auto const keep_in_step = [&](PathList& paths)
    {
        if (new_path.empty())
        {
            paths.remove_if([&](std::string const& path) { return Algorithm::contains(path, old_path); });
        }
        else
        {
            paths = renamed_paths(paths, old_path, new_path);
        }
    };
    if (Algorithm::starts_with(old_path, Key::recipe_type_list))
    {
        m_recipe_types.change(keep_in_step);
    }
    else if (Algorithm::starts_with(old_path, Key::recipe_list))
    {
        m_recipes.change(keep_in_step);
    }
}

} // namespace RecipeManagement
