#include "RavikRecipeManagement.h"
#include "configuration_keys.h"
#include "value_text.h"
#include "walk_limits.h"

#include "algorithm_helper.h"
#include "api_helper.h"

#include <boost/thread/lock_types.hpp>
#include <boost/unordered/unordered_flat_map.hpp>

#include <cstdint>

namespace RecipeManagement
{

namespace Algorithm = RavikSrv::Algorithm;
using RavikSrv::Command;
using RavikSrv::Context;
using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

// Who inherits a type -------------------------------------------------------------------------------------------------

namespace
{

/// The types that inherit a type directly, in the order of the stored paths.
using Heirs = boost::unordered_flat_map<std::string, std::vector<std::string>>;

Heirs collect_heirs(PathList const& recipe_type_paths, Value const& config)
{
    auto const list = join_path(Key::recipe_type_list, "");
    Heirs heirs;
    for (auto const& path : recipe_type_paths)
    {
        auto const* const type = RavikSrv::node_path(path, config).node;
        if (type == nullptr)
        {
            continue;
        }
        auto name = path;
        Algorithm::replace(name, list, "");
        auto const& inherited = (*type)[Key::recipe_type_names];
        for (auto entry = inherited.begin_vector(); entry != inherited.end_vector(); ++entry)
        {
            heirs[text_of(*entry)].push_back(name);
        }
    }
    return heirs;
}

/// Answers false where the names become too many and the walk must end.
bool append_heirs(std::string const& recipetype_name, std::vector<std::string>& result, Heirs const& heirs,
                  Command& command, unsigned long depth)
{
    if (is_too_deep(depth))
    {
        set_command_result(command, RecipeResult::RECURSION);
        return true;
    }
    auto const found = heirs.find(recipetype_name);
    if (found == heirs.end())
    {
        return true;
    }
    for (auto const& heir : found->second)
    {
        if (result.size() == walk_limit)
        {
            set_command_result(command, RecipeResult::RECURSION);
            return false;
        }
        result.push_back(heir);
        if (!append_heirs(heir, result, heirs, command, depth + 1))
        {
            return false;
        }
    }
    return true;
}

} // namespace

void RavikRecipeManagement::influenced_by_inherited_recipetype(std::string const& recipetype_name,
                                                               std::vector<std::string>& result, Value const& config,
                                                               Command& command, unsigned long depth)
{
    boost::unique_lock<boost::mutex> lock(recipe_type_paths_mutex);
    auto const paths = recipe_type_paths;
    lock.unlock();
    append_heirs(recipetype_name, result, collect_heirs(paths, config), command, depth);
}

// What a recipe inherits ----------------------------------------------------------------------------------------------

namespace
{

/// Fills in the inherited members that a recipe lacks.
class InheritedDefaults
{
public:
    InheritedDefaults(RavikSrv::IRavikSrvExtHost& host, Context const& context, Command& command, Value const& config,
                      std::string const& values_path)
        : m_host(host), m_context(context), m_command(command), m_config(config), m_values_path(values_path)
    {
        auto const* const values = RavikSrv::node_path(values_path, config).node;
        if (values != nullptr)
        {
            m_held = *values;
        }
    }

    /// Answers false where the walk must end; the command then says why.
    bool add(std::string const& recipetype_name, unsigned long depth);

private:
    bool add_from(std::string const& inherited_name);
    Value take_missing(Value const& members);
    bool is_repeated(std::string const& recipetype_name, unsigned long depth);

    RavikSrv::IRavikSrvExtHost& m_host;
    Context const& m_context;
    Command& m_command;
    Value const& m_config;
    std::string const& m_values_path;
    /// What the recipe holds, with all that has been filled in.
    Value m_held;
    /// The depths at which a type's inherited types have been walked, a bit for each.
    boost::unordered_flat_map<std::string, std::uint32_t> m_walked;
};

bool InheritedDefaults::add(std::string const& recipetype_name, unsigned long depth)
{
    if (is_too_deep(depth))
    {
        set_command_result(m_command, RecipeResult::RECURSION);
        return true;
    }
    if (is_repeated(recipetype_name, depth))
    {
        return true;
    }
    auto const path = join_path(add_path_recipetypelist(recipetype_name), Key::recipe_type_names);
    auto const* const names = RavikSrv::node_path(path, m_config).node;
    if (names == nullptr)
    {
        return true;
    }
    for (auto entry = names->begin_vector(); entry != names->end_vector(); ++entry)
    {
        std::string const inherited_name = text_of(*entry);
        if (!add_from(inherited_name) || !add(inherited_name, depth + 1))
        {
            return false;
        }
    }
    return true;
}

/// Whether the type's inherited types have been walked from this depth: once more would find nothing missing.
bool InheritedDefaults::is_repeated(std::string const& recipetype_name, unsigned long depth)
{
    auto& depths = m_walked[recipetype_name];
    auto const bit = std::uint32_t{1} << depth;
    auto const repeated = (depths & bit) != 0;
    depths |= bit;
    return repeated;
}

bool InheritedDefaults::add_from(std::string const& inherited_name)
{
    auto const path = join_path(add_path_recipetypelist(inherited_name), Key::members);
    auto const* const members = RavikSrv::node_path(path, m_config).node;
    if (members == nullptr)
    {
        set_command_result(m_command, RecipeResult::MISSING_RECIPETYPE_MEMBERS);
        return false;
    }
    auto const missing = take_missing(*members);
    if (missing.empty())
    {
        return true;
    }
    auto const error = m_host.set_config_value(m_context, m_values_path.c_str(), &missing);
    if (error != ErrorValue::SUCCESS)
    {
        set_command_error(m_command, RavikSrv::get_error_string(error).name(), RecipeResult::UPDATING_RECIPE_FAILED);
        return false;
    }
    return true;
}

/// The members that the recipe lacks, with what they are given; from here on the recipe counts as holding them.
Value InheritedDefaults::take_missing(Value const& members)
{
    Value missing;
    missing.set_type(ValueType::Map);
    Value const& held = m_held;
    for (auto entry = members.begin(); entry != members.end(); ++entry)
    {
        auto const& member = *entry;
        auto const is_symbol = !Algorithm::empty(text_of(member[Key::symbol]));
        auto const is_nested = !is_symbol && !Algorithm::empty(text_of(member[Key::recipe_type]));
        auto const value = is_nested ? Value("") : member[Key::default_value];
        if ((is_symbol || is_nested) && value.isset() && held.find(entry.name()) == held.end())
        {
            missing.insert(entry.name(), value);
            m_held.insert(entry.name(), value);
        }
    }
    return missing;
}

} // namespace

void RavikRecipeManagement::recipe_add_inherited_symbols(Context const& context, Command& command,
                                                         std::string const& recipetype_name, Value const& config,
                                                         std::string const& values_path, unsigned long depth)
{
    InheritedDefaults(*host, context, command, config, values_path).add(recipetype_name, depth);
}

} // namespace RecipeManagement
