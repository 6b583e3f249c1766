#include "RavikRecipeManagement.h"
#include "configuration_keys.h"

#include "algorithm_helper.h"
#include "boundary_guard.h"

#include <boost/thread/lock_types.hpp>

namespace RecipeManagement
{

namespace Algorithm = RavikSrv::Algorithm;
using RavikSrv::Context;
using RavikSrv::ErrorValue;
using RavikSrv::ResultPair;

namespace
{

bool is_list(char const* path)
{
    return Algorithm::equals(path, Key::recipe_type_list) || Algorithm::equals(path, Key::recipe_list);
}

bool is_entry_type(char const* schema_type)
{
    return Algorithm::equals(schema_type, SchemaType::recipe) ||
           Algorithm::equals(schema_type, SchemaType::recipe_type);
}

void add(PathList& paths, boost::mutex& mutex, std::string const& path)
{
    boost::unique_lock<boost::mutex> const lock(mutex);
    paths.add(path);
}

} // namespace

ResultPair RavikRecipeManagement::on_change(Context /*context*/, char const* path, char const* schema_type)
{
    return RavikSrv::guarded_result("on_change",
                                    [&]
                                    {
                                        if (!is_list(path) && is_entry_type(schema_type))
                                        {
                                            store_path(path);
                                        }
                                        return ResultPair(ErrorValue::SUCCESS);
                                    });
}

void RavikRecipeManagement::store_path(std::string const& path)
{
    // The path alone decides, whatever type the entry is said to have.
    if (Algorithm::starts_with(path, Key::recipe_list))
    {
        add(recipe_paths, recipe_paths_mutex, path);
    }
    else if (Algorithm::starts_with(path, Key::recipe_type_list))
    {
        add(recipe_type_paths, recipe_type_paths_mutex, path);
    }
}

} // namespace RecipeManagement
