#include "recipe_names.h"

#include "Configuration/Entry.h"

#include "api_helper.h"

namespace Ravik::CommandLine
{

using RavikSrv::Value;

namespace
{

/// The names of the entries of a kind, in the order of their list.
std::vector<std::string> names_of(EntryKind wanted, std::string const& list, Value const& configuration)
{
    auto const behind_list = list.size() + RavikSrv::path_separator().size();
    std::vector<std::string> names;
    for_each_entry(list, configuration,
                   [&](std::string const& path, Value const&, EntryKind kind)
                   {
                       if (kind == wanted)
                       {
                           names.push_back(path.substr(behind_list));
                       }
                       return true;
                   });
    return names;
}

} // namespace

Value recipe_configuration(Project const& project)
{
    return project.get(std::string(recipe_domain), "").value;
}

std::vector<std::string> recipe_type_names(Value const& configuration)
{
    return names_of(EntryKind::RecipeType, Key::recipe_type_list, configuration);
}

std::vector<std::string> recipe_names(Value const& configuration)
{
    return names_of(EntryKind::Recipe, Key::recipe_list, configuration);
}

std::string recipe_counts(Value const& configuration)
{
    return counted(recipe_type_names(configuration).size(), "recipe type") + " and " +
           counted(recipe_names(configuration).size(), "recipe");
}

std::string counted(std::size_t count, std::string const& noun)
{
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

} // namespace Ravik::CommandLine
