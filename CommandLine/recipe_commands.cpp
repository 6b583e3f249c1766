#include "commands.h"

#include "Table.h"
#include "ValueComparison.h"
#include "function_answer.h"
#include "recipe_functions.h"
#include "recipe_names.h"
#include "rows.h"

#include "Configuration/configuration_keys.h"
#include "Configuration/recipe_needs.h"
#include "Json/Json.h"

#include "algorithm_helper.h"
#include "api_helper.h"

#include <map>
#include <utility>

namespace Ravik::CommandLine
{

namespace
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::Algorithm::to_string;

/// The states of rows.
namespace State
{

constexpr char const* same = "same";
constexpr char const* differs = "differs";
constexpr char const* unread = "unread";
constexpr char const* nested_recipe = "nested recipe";
constexpr char const* no_member = "no member";

} // namespace State

std::string shown(Value const& value)
{
    return value.isset() ? Json::write(value) : "-";
}

/// The first members of a recipe that are bound to the symbols.
std::map<std::string, std::string> members_by_symbol(Invocation& invocation, std::string const& recipe)
{
    auto const type = to_string(stored_recipe(invocation.project(), recipe)[Key::recipe_type_name]);
    std::map<std::string, std::string> members;
    for (auto const& member : bound_members(type, recipe_configuration(invocation.project())))
    {
        members.emplace(member.symbol, member.name);
    }
    return members;
}

// Reading -------------------------------------------------------------------------------------------------------------

/// The values that a recipe stores beside those that were read.
class ReadValues
{
public:
    ReadValues(Invocation& invocation, Value const& recipe, Value const& current)
        : m_comparison(invocation.project(), recipe_configuration(invocation.project()), recipe)
    {
        Value const& values = recipe[Key::values];
        for (auto value = values.begin(); value != values.end(); ++value)
        {
            add(value.name(), *value, current[value.name()]);
        }
    }

    void print(Output& output) const
    {
        m_table.print(output);
        auto const differing = m_rows.count(State::differs);
        auto const compared = differing + m_rows.count(State::same);
        output.print(differing == 0 ? counted(compared, "value") + " as stored."
                                    : std::to_string(differing) + " of " + counted(compared, "value") +
                                          (differing == 1 ? " differs." : " differ."));
        if (auto const stray = m_rows.count(State::no_member); stray != 0)
        {
            output.print(counted(stray, "value") + (stray == 1 ? " stands" : " stand") +
                         " for no member of the recipe's type; 'update' drops " + (stray == 1 ? "it." : "them."));
        }
    }

    Value value() const { return m_rows.value(); }

private:
    void add(std::string const& member, Value const& stored, Value const& live)
    {
        auto const target = m_comparison.target_of(member);
        auto const* const state = !target.is_member                          ? State::no_member
                                  : target.symbol.empty()                    ? State::nested_recipe
                                  : m_comparison.agree(target, stored, live) ? State::same
                                                                             : State::differs;
        auto const is_compared = !target.symbol.empty();
        m_table.add({{member},
                     {is_compared ? target.symbol : std::string(state)},
                     {shown(stored)},
                     {is_compared ? shown(live) : std::string()},
                     state == State::differs ? Cell{state, Colour::yellow} : Cell{"", Colour::none}});
        Value row;
        row.insert("symbol", text_value(target.symbol));
        row.insert("domain", text_value(target.domain));
        row.insert("member", text_value(member));
        row.insert("stored", stored);
        row.insert("live", is_compared ? live : Value());
        row.insert("state", text_value(state));
        row.insert("text", text_value(""));
        m_rows.add(row);
    }

    ValueComparison m_comparison;
    Table m_table{{"MEMBER", "SYMBOL", "STORED", "IN THE CONTROLLER", ""}};
    Rows m_rows{{State::same, State::differs, State::nested_recipe, State::no_member}};
};

/// Prints the symbols that could not be read, with the reason that each has of its own, and returns the same for
/// `--json`.
Value unread_symbols(Invocation& invocation, ExecutionRecord const& record, std::string const& recipe)
{
    Table table({"SYMBOL", "DOMAIN", "OUTCOME"});
    Rows rows({State::unread});
    auto const members = members_by_symbol(invocation, recipe);
    Value const stored = stored_recipe(invocation.project(), recipe);
    for (auto const& group : record)
    {
        for (auto const& command : group.commands)
        {
            if (command.result == ErrorValue::SUCCESS)
            {
                continue;
            }
            table.add({{command.name.str()}, {group.domain}, outcome_cell(command, "")});
            auto const found = members.find(command.name.str());
            auto const member = found == members.end() ? std::string() : found->second;
            Value row;
            row.insert("symbol", text_value(command.name.str()));
            row.insert("domain", text_value(group.domain));
            row.insert("member", text_value(member));
            row.insert("stored", stored[Key::values][member.c_str()]);
            row.insert("live", Value());
            row.insert("state", text_value(State::unread));
            row.insert("text", text_value(failure_text(command)));
            rows.add(row);
        }
    }
    table.print(invocation.output());
    return rows.value();
}

} // namespace

Answer read(Invocation& invocation)
{
    auto const& name = invocation.operands()[0];
    auto const outcome = call_with(invocation, Function::read_from_target, Parameter::path, name);
    auto answer = function_answer(outcome);
    if (outcome.succeeded())
    {
        Value const& answers = outcome.value;
        ReadValues const values(invocation, stored_recipe(invocation.project(), name),
                                answers[name.c_str()][Key::values]);
        values.print(invocation.output());
        answer.value = values.value();
    }
    else
    {
        answer.value = unread_symbols(invocation, outcome.record, name);
        hint_at_unknown_recipe(invocation, name);
    }
    return answer;
}

} // namespace Ravik::CommandLine
