#include "Call.h"
#include "NameMap.h"
#include "RavikRecipeManagement.h"
#include "configuration_keys.h"
#include "recipe_config_handler/StoredPaths.h"
#include "recipe_result.h"
#include "value_text.h"
#include "walk_limits.h"

#include "algorithm_helper.h"
#include "api_helper.h"

#include <boost/unordered/unordered_flat_map.hpp>

#include <algorithm>

namespace RecipeManagement
{

namespace
{

/// One listing of the recipes of a type.
class GetRecipes
{
public:
    GetRecipes(Call const& call, Command& command, StoredPaths const& recipe_paths,
               StoredPaths const& recipe_type_paths)
        : m_call(call), m_command(command), m_recipe_paths(recipe_paths), m_recipe_type_paths(recipe_type_paths)
    {
    }

    void get_recipes();

private:
    /// How often the recipes of a type are listed.
    using Listings = NameMap<std::size_t>;

    /// Returns false where the request has failed; the command then says why.
    [[nodiscard]] bool list(Listings const& listings, std::vector<std::string>& names);
    void collect_heirs();
    /// Appends to `result` the names of all types that inherit the type, directly or through others, one for each way
    /// in which they do. Sets the command's result to `RECURSION` where a walk goes too deep or the names too many;
    /// returns false in the latter case, in which the walk must end.
    bool influenced_by_inherited_recipetype(std::string const& recipetype_name, std::vector<std::string>& result,
                                            unsigned long depth);

    Call const m_call;
    Command& m_command;
    StoredPaths const m_recipe_paths;
    StoredPaths const m_recipe_type_paths;
    Value m_config;
    /// The types that inherit a type directly, in the order of the stored paths.
    boost::unordered_flat_map<std::string, std::vector<std::string>> m_heirs;
};

Value list_of(std::vector<std::string> const& names)
{
    Value list;
    list.set_type(ValueType::Vector);
    list.reserve(names.size());
    for (auto const& name : names)
    {
        list << Value(name.c_str());
    }
    return list;
}

void GetRecipes::get_recipes()
{
    Value const& parameters = std::as_const(m_command).write_value();
    if (parameters.type() != ValueType::Struct)
    {
        set_command_result(m_command, RecipeResult::INVALID_WRITEVALUE);
        return;
    }
    auto const requested = Algorithm::to_string(parameters[Key::recipe_type_path]);
    m_config = m_call.read_configuration();
    collect_heirs();
    std::vector<std::string> heirs;
    // What was collected before a failure counts.
    static_cast<void>(influenced_by_inherited_recipetype(requested, heirs, 0));
    // A type that inherits the requested one in several ways has its recipes listed once for each.
    Listings listings;
    for (auto const& heir : heirs)
    {
        ++listings[heir];
    }
    listings[requested] = 1;
    std::vector<std::string> names;
    if (list(listings, names))
    {
        std::reverse(names.begin(), names.end());
        m_command.set_read_value(list_of(names));
    }
}

bool GetRecipes::list(Listings const& listings, std::vector<std::string>& names)
{
    Value const& config = m_config;
    for (auto const& path : m_recipe_paths.copy())
    {
        auto const* const recipe = RavikSrv::node_path(path, config).node;
        if (recipe == nullptr)
        {
            set_command_result(m_command, RecipeResult::MISSING_RECIPE_VALUES);
            return false;
        }
        std::string_view const type = text_of((*recipe)[Key::recipe_type_name]);
        auto const found = listings.find(type);
        if (type.empty() || found == listings.end())
        {
            continue;
        }
        if (names.size() + found->second > walk_limit)
        {
            set_command_result(m_command, RecipeResult::RECURSION);
            return false;
        }
        names.insert(names.end(), found->second, relative_recipe_name(path));
    }
    return true;
}

void GetRecipes::collect_heirs()
{
    Value const& config = m_config;
    for (auto const& path : m_recipe_type_paths.copy())
    {
        auto const* const type = RavikSrv::node_path(path, config).node;
        if (type == nullptr)
        {
            continue;
        }
        auto const name = relative_recipetype_name(path);
        auto const& inherited = (*type)[Key::recipe_type_names];
        for (auto entry = inherited.begin_vector(); entry != inherited.end_vector(); ++entry)
        {
            m_heirs[text_of(*entry)].push_back(name);
        }
    }
}

bool GetRecipes::influenced_by_inherited_recipetype(std::string const& recipetype_name,
                                                    std::vector<std::string>& result, unsigned long depth)
{
    if (is_too_deep(depth))
    {
        set_command_result(m_command, RecipeResult::RECURSION);
        return true;
    }
    auto const found = m_heirs.find(recipetype_name);
    if (found == m_heirs.end())
    {
        return true;
    }
    for (auto const& heir : found->second)
    {
        if (result.size() == walk_limit)
        {
            set_command_result(m_command, RecipeResult::RECURSION);
            return false;
        }
        result.push_back(heir);
        if (!influenced_by_inherited_recipetype(heir, result, depth + 1))
        {
            return false;
        }
    }
    return true;
}

} // namespace

void RavikRecipeManagement::get_recipes(Context const& context, Command& command)
{
    GetRecipes(call_in(context), command, stored_recipes(), stored_recipe_types()).get_recipes();
}

} // namespace RecipeManagement
