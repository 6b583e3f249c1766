#include "Project/unmapped_symbols.h"

#include "Configuration/Entry.h"
#include "Configuration/configuration_keys.h"
#include "Configuration/recipe_needs.h"
#include "Configuration/tree.h"
#include "algorithm_helper.h"
#include "api_helper.h"

#include <algorithm>
#include <unordered_set>
#include <vector>

namespace Ravik
{

using RavikSrv::Value;
using RavikSrv::Algorithm::to_string;

namespace
{

/// So many are named; a person who sees these knows where to look for the others.
constexpr std::size_t most_named = 5;

/// The full paths of the recipes that a call is about.
std::vector<std::string> called_recipes(Value const& parameters, Value const& tree)
{
    auto const path_of = [](Value const& name) { return Tree::join(Key::recipe_list, to_string(name)); };
    std::vector<std::string> paths;
    if (auto const& path = parameters["path"]; path.isset())
    {
        return {path_of(path)};
    }
    for (auto name = parameters.begin_vector(); name != parameters.end_vector(); ++name)
    {
        paths.push_back(path_of(*name));
    }
    return paths.empty() ? entry_paths(Key::recipe_list, tree) : paths;
}

/// The types of recipes that exist, each once.
std::vector<std::string> types_of(std::vector<std::string> const& recipes, Value const& tree)
{
    std::unordered_set<std::string> known;
    std::vector<std::string> types;
    for (auto const& recipe : recipes)
    {
        auto const* const node = RavikSrv::node_path(recipe, tree).node;
        auto type = node == nullptr ? std::string() : to_string((*node)[Key::recipe_type_name]);
        if (!type.empty() && known.insert(type).second)
        {
            types.push_back(std::move(type));
        }
    }
    return types;
}

} // namespace

std::string unmapped_symbols_text(Value const& parameters, Value const& tree, SymbolTable const& symbols)
{
    std::vector<std::string> unmapped;
    std::unordered_set<std::string> known;
    for (auto const& type : types_of(called_recipes(parameters, tree), tree))
    {
        for (auto const& member : bound_members(type, tree))
        {
            if (known.insert(member.symbol).second && symbols.find(member.symbol).symbol == nullptr)
            {
                unmapped.push_back('"' + member.symbol + "\" (member " + member.name + ')');
            }
        }
    }
    std::string text;
    for (std::size_t index = 0; index < std::min(unmapped.size(), most_named); ++index)
    {
        text += (index == 0 ? "ravik.json maps no symbol " : ", ") + unmapped[index];
    }
    return unmapped.size() <= most_named ? text
                                         : text + " and " + std::to_string(unmapped.size() - most_named) + " more";
}

} // namespace Ravik
