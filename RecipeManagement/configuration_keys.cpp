#include "configuration_keys.h"

#include "api_types.h"

#include "algorithm_helper.h"
#include "api_helper.h"

namespace RecipeManagement
{

std::string join_path(std::string const& path, std::string const& name)
{
    return path + RavikSrv::path_separator() + name;
}

std::string add_path_recipetypelist(std::string const& name)
{
    return join_path(Key::recipe_type_list, name);
}

std::string add_path_recipelist(std::string const& name)
{
    return join_path(Key::recipe_list, name);
}

std::string relative_recipetype_name(std::string path)
{
    Algorithm::replace(path, add_path_recipetypelist(""), "");
    return path;
}

std::string relative_recipe_name(std::string path)
{
    Algorithm::replace(path, add_path_recipelist(""), "");
    return path;
}

} // namespace RecipeManagement
