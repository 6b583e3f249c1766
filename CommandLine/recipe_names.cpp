#include "recipe_names.h"

#include "Configuration/configuration_keys.h"
#include "api_helper.h"

#include <initializer_list>

namespace Ravik::CommandLine
{

namespace
{

/// Folders nest no deeper than a text that was imported.
void collect(RavikSrv::Value const& folder, std::string const& prefix, std::initializer_list<char const*> marks,
             std::vector<std::string>& names)
{
    for (auto entry = folder.begin(); entry != folder.end(); ++entry)
    {
        bool is_folder = true;
        for (auto const* const mark : marks)
        {
            is_folder = is_folder && entry->find(mark) == entry->end();
        }
        auto const name = prefix + entry.name();
        if (is_folder)
        {
            collect(*entry, name + RavikSrv::path_separator(), marks, names);
        }
        else
        {
            names.push_back(name);
        }
    }
}

} // namespace

std::vector<std::string> recipe_type_names(RavikSrv::Value const& list)
{
    std::vector<std::string> names;
    collect(list, "", {Key::members}, names);
    return names;
}

std::vector<std::string> recipe_names(RavikSrv::Value const& list)
{
    std::vector<std::string> names;
    collect(list, "", {Key::recipe_type_name, Key::values}, names);
    return names;
}

std::string recipe_counts(RavikSrv::Value const& configuration)
{
    return counted(recipe_type_names(configuration[Key::recipe_type_list]).size(), "recipe type") + " and " +
           counted(recipe_names(configuration[Key::recipe_list]).size(), "recipe");
}

std::string counted(std::size_t count, std::string const& noun)
{
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

} // namespace Ravik::CommandLine
