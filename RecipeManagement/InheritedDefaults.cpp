#include "InheritedDefaults.h"

#include "configuration_keys.h"
#include "recipe_result.h"
#include "value_text.h"
#include "walk_limits.h"

#include "algorithm_helper.h"
#include "api_helper.h"

#include <utility>

namespace RecipeManagement
{

namespace
{

bool has_symbol(Value const& member)
{
    return !Algorithm::empty(text_of(member[Key::symbol]));
}

bool nests_type(Value const& member)
{
    return !Algorithm::empty(text_of(member[Key::recipe_type]));
}

} // namespace

InheritedDefaults::InheritedDefaults(Call const& call, Command& command, Value const& config,
                                     std::string const& values_path, Value values, SymbolList& symbols)
    : m_call(call), m_command(command), m_config(config), m_values_path(values_path), m_symbols(symbols),
      m_held(std::move(values))
{
}

void InheritedDefaults::recipe_add_inherited_symbols(std::string const& recipetype_name)
{
    collect_first_members(recipetype_name);
    static_cast<void>(add(recipetype_name, 0));
}

/// The types have been resolved, so they are there and the walk ends. What a type brings the second time comes too late
/// to be the first of its name.
void InheritedDefaults::collect_first_members(std::string const& recipetype_name)
{
    auto const* const type = RavikSrv::node_path(add_path_recipetypelist(recipetype_name), m_config).node;
    if (type == nullptr || !m_collected.insert(recipetype_name).second)
    {
        return;
    }
    auto const& inherited = (*type)[Key::recipe_type_names];
    for (auto name = inherited.begin_vector(); name != inherited.end_vector(); ++name)
    {
        collect_first_members(text_of(*name));
    }
    auto const& members = (*type)[Key::members];
    for (auto member = members.begin(); member != members.end(); ++member)
    {
        if (has_symbol(*member))
        {
            m_first_members.emplace(member.name(), &*member);
        }
        if (nests_type(*member))
        {
            collect_first_members(text_of((*member)[Key::recipe_type]));
        }
    }
}

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
    auto const missing = missing_of(*members);
    return missing.empty() || write(missing);
}

/// The members that the recipe lacks, with what they are given.
Value InheritedDefaults::missing_of(Value const& members)
{
    Value missing;
    missing.set_type(ValueType::Map);
    for (auto member = members.begin(); member != members.end(); ++member)
    {
        auto const value = has_symbol(*member) ? (*member)[Key::default_value] : Value("");
        if (value.isset() && is_missing(member.name(), *member))
        {
            missing.insert(member.name(), value);
        }
    }
    return missing;
}

bool InheritedDefaults::is_missing(char const* name, Value const& member)
{
    Value const& held = m_held;
    auto const* const record = m_symbols.find_name(name);
    if (record == nullptr || held.find(name) != held.end())
    {
        return false;
    }
    if (record->is_recipetype)
    {
        // All members of that name that nest a type share the record.
        return !has_symbol(member) && nests_type(member);
    }
    // It may have its value from a nested recipe.
    auto const first = m_first_members.find(std::string_view(name));
    return !record->value.isset() && first != m_first_members.end() && first->second == &member;
}

bool InheritedDefaults::write(Value const& missing)
{
    auto const error = m_call.write(m_values_path, missing);
    if (error != ErrorValue::SUCCESS)
    {
        set_command_error(m_command, RavikSrv::get_error_string(error).name(), RecipeResult::UPDATING_RECIPE_FAILED);
        return false;
    }
    for (auto value = missing.begin(); value != missing.end(); ++value)
    {
        m_held.insert(value.name(), *value);
    }
    return true;
}

} // namespace RecipeManagement
