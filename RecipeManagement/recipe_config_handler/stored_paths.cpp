#include "RavikRecipeManagement.h"
#include "configuration_keys.h"

#include "algorithm_helper.h"
#include "boundary_guard.h"

namespace RecipeManagement
{

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
    auto const add = [&](PathList& paths) { paths.add(path); };
    // The path alone decides, whatever type the entry is said to have.
    if (Algorithm::starts_with(path, Key::recipe_list))
    {
        stored_recipes().change(add);
    }
    else if (Algorithm::starts_with(path, Key::recipe_type_list))
    {
        stored_recipe_types().change(add);
    }
}

} // namespace RecipeManagement
