#include "RavikRecipeManagement.h"
#include "configuration_keys.h"
#include "recipe_config_handler/cascade.h"
#include "result_pair.h"

#include "algorithm_helper.h"
#include "boundary_guard.h"

#include <boost/thread/lock_types.hpp>

namespace RecipeManagement
{

namespace Algorithm = RavikSrv::Algorithm;
using RavikSrv::Context;
using RavikSrv::ErrorValue;
using RavikSrv::ResultPair;
using RavikSrv::Value;

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
    Move const move(old_path, new_path);
    delete_rename_path(old_path, new_path);
    // All passes read this one state; none sees what another has written.
    auto const snapshot = host->get_config_value(context, "");
    ResultPair result;
    if (Algorithm::starts_with(old_path, Key::recipe_type_list))
    {
        if (Algorithm::contains(old_path, Key::members) || Algorithm::contains(old_path, Key::recipe_type_names))
        {
            result = delete_rename_recipe_values(snapshot, context, move);
        }
        if (!failed(result))
        {
            result = delete_rename_recipetype(snapshot, context, move);
        }
    }
    else if (Algorithm::starts_with(old_path, Key::recipe_list))
    {
        result = delete_rename_recipe_references(snapshot, context, move);
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

/// Under one lock, so that no path is lost that is notified meanwhile.
void change_paths(PathList& paths, boost::mutex& mutex, std::string const& old_path, std::string const& new_path)
{
    boost::unique_lock<boost::mutex> const lock(mutex);
    if (new_path.empty())
    {
        paths.remove_if([&](std::string const& path) { return Algorithm::contains(path, old_path); });
    }
    else
    {
        paths = renamed_paths(paths, old_path, new_path);
    }
}

} // namespace

void RavikRecipeManagement::delete_rename_path(std::string const& old_path, std::string const& new_path)
{
    // A change inside an entry does not move the entry.
    if (Algorithm::contains(old_path, Key::members) || Algorithm::contains(old_path, Key::values))
    {
        return;
    }
    if (Algorithm::starts_with(old_path, Key::recipe_type_list))
    {
        change_paths(recipe_type_paths, recipe_type_paths_mutex, old_path, new_path);
    }
    else if (Algorithm::starts_with(old_path, Key::recipe_list))
    {
        change_paths(recipe_paths, recipe_paths_mutex, old_path, new_path);
    }
}

} // namespace RecipeManagement
