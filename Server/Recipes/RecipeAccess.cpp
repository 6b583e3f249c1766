#include "Recipes/RecipeAccess.h"

#include "Configuration/Entry.h"
#include "Configuration/configuration_keys.h"
#include "Configuration/tree.h"

#include "api_helper.h"

namespace Ravik
{

using RavikSrv::Value;

FunctionOutcome RecipeAccess::call(RavikSrv::Session request, std::string const& function, char const* key,
                                   std::string const& value, Origin const& origin) const
{
    Value parameters(RavikSrv::ValueType::Struct);
    parameters.insert(key, Value(std::string_view(value)));
    return m_function(request, function, parameters, origin);
}

Value RecipeAccess::configuration() const
{
    return m_core.configuration.tree(std::string(recipe_domain));
}

Value RecipeAccess::recipe(std::string const& name) const
{
    auto const tree = configuration();
    auto const* const node = RavikSrv::node_path(Tree::join(Key::recipe_list, name), tree).node;
    return node == nullptr ? Value() : *node;
}

std::vector<std::string> RecipeAccess::names() const
{
    std::vector<std::string> names;
    for_each_entry(Key::recipe_list, configuration(),
                   [&names](std::string const& path, Value const& /*entry*/, EntryKind kind)
                   {
                       if (kind == EntryKind::Recipe)
                       {
                           names.push_back(relative_name(path));
                       }
                       return true;
                   });
    return names;
}

} // namespace Ravik
