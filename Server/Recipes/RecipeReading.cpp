#include "Recipes/RecipeReading.h"

#include "Configuration/configuration_keys.h"
#include "Configuration/recipe_needs.h"
#include "Recipes/ValueComparison.h"
#include "Recipes/recipe_functions.h"

#include "algorithm_helper.h"

#include <map>
#include <utility>

namespace Ravik
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;

RecipeReading::RecipeReading(RecipeAccess const& access, SymbolTable const& symbols, std::string name)
    : m_symbols(symbols), m_name(std::move(name))
{
    auto const pin = access.pin();
    m_configuration = access.configuration();
    m_recipe = access.recipe(m_name);
    m_outcome = access.call(access.begin_request(), Function::read_from_target, Parameter::path, m_name);
}

ReadReport RecipeReading::report() const
{
    ReadReport report;
    static_cast<RecipeOutcome&>(report) = recipe_outcome(m_outcome);
    report.rows = m_outcome.succeeded() ? compared() : unread();
    return report;
}

ValueRows RecipeReading::compared() const
{
    Value const& live = m_outcome.value[m_name.c_str()][Key::values];
    Value const& stored = m_recipe[Key::values];
    ValueComparison const comparison(m_symbols, m_configuration, m_recipe);
    ValueRows rows;
    for (auto value = stored.begin(); value != stored.end(); ++value)
    {
        auto const target = comparison.target_of(value.name());
        auto const is_compared = !target.symbol.empty();
        auto const& read = live[value.name()];
        auto const state = !target.is_member                        ? ValueState::NoMember
                           : !is_compared                           ? ValueState::NestedRecipe
                           : comparison.agree(target, *value, read) ? ValueState::Same
                                                                    : ValueState::Differs;
        rows.push_back({.symbol = target.symbol,
                        .domain = target.domain,
                        .member = value.name(),
                        .stored = *value,
                        .live = is_compared ? read : Value(),
                        .state = state,
                        .text = {}});
    }
    return rows;
}

/// The symbols at fault, with the reason that each has of its own.
ValueRows RecipeReading::unread() const
{
    std::map<std::string, std::string> members;
    auto const type = RavikSrv::Algorithm::to_string(std::as_const(m_recipe)[Key::recipe_type_name]);
    for (auto const& member : bound_members(type, m_configuration))
    {
        members.emplace(member.symbol, member.name);
    }
    ValueRows rows;
    for (auto const& group : m_outcome.record)
    {
        for (auto const& command : group.commands)
        {
            if (command.result == ErrorValue::SUCCESS)
            {
                continue;
            }
            auto const found = members.find(command.name.str());
            auto const member = found == members.end() ? std::string() : found->second;
            rows.push_back({.symbol = command.name.str(),
                            .domain = group.domain,
                            .member = member,
                            .stored = m_recipe[Key::values][member.c_str()],
                            .live = {},
                            .state = ValueState::Unread,
                            .text = failure_text(command)});
        }
    }
    return rows;
}

} // namespace Ravik
