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

#include <algorithm>
#include <map>
#include <set>
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

constexpr char const* written = "written";
constexpr char const* failed = "failed";
constexpr char const* not_tried = "not tried";
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

// Activation ----------------------------------------------------------------------------------------------------------

/// Prints what was written to which symbol, and a line that sums it up; and collects the same for `--json`.
class WrittenSymbols
{
public:
    WrittenSymbols(ExecutionRecord const& record, std::map<std::string, std::string> const& members)
        : m_members(members)
    {
        std::for_each(record.begin(), record.end(), [this](ExecutedGroup const& group) { add(group); });
    }

    void print(Output& output) const
    {
        m_table.print(output);
        auto const where = " in " + counted(m_domains.size(), "domain");
        auto const written = m_symbols.size() - m_failed.size();
        output.print(m_symbols.empty()  ? "No symbol was written."
                     : m_failed.empty() ? counted(written, "symbol") + " written" + where + '.'
                                        : std::to_string(written) + " of " + counted(m_symbols.size(), "symbol") +
                                              " written" + where + ", " + failures() + '.');
    }

    Value value() const { return m_rows.value(); }

private:
    /// Where a value does not fit its symbol, nothing of its group is sent, and every command tells of that symbol.
    static std::string culprit_text(ExecutedGroup const& group)
    {
        auto const culprit = std::find_if(group.commands.begin(), group.commands.end(),
                                          [](ExecutedCommand const& command)
                                          {
                                              return command.result != ErrorValue::SUCCESS &&
                                                     command.result != ErrorValue::EXTENSION &&
                                                     command.text.view().starts_with(command.name.str() + ": ");
                                          });
        return culprit == group.commands.end() ? std::string() : culprit->text.str();
    }

    static char const* state_of(ExecutedCommand const& command, std::string const& culprit)
    {
        if (command.result == ErrorValue::SUCCESS)
        {
            return State::written;
        }
        auto const is_culprit = culprit.empty() || command.text.view().starts_with(command.name.str() + ": ");
        return command.text == culprit && !is_culprit ? State::not_tried : State::failed;
    }

    void add(ExecutedGroup const& group)
    {
        auto const culprit = culprit_text(group);
        for (auto const& command : group.commands)
        {
            if (command.wrote)
            {
                add(group.domain, command, state_of(command, culprit));
            }
        }
    }

    void add(std::string const& domain, ExecutedCommand const& command, std::string const& state)
    {
        // A symbol may be written in more than one group; it counts once.
        if (!m_shown.emplace(command.name.str(), state).second)
        {
            return;
        }
        auto const text = command.result == ErrorValue::SUCCESS ? std::string() : failure_text(command);
        auto const outcome = state == State::written     ? Cell{state, Colour::green}
                             : state == State::not_tried ? Cell{state, Colour::yellow}
                                                         : Cell{text, Colour::red};
        m_table.add({{command.name.str()}, {domain}, {Json::write(command.value)}, outcome});
        auto const member = m_members.find(command.name.str());
        Value row;
        row.insert("symbol", text_value(command.name.str()));
        row.insert("domain", text_value(domain));
        row.insert("member", text_value(member == m_members.end() ? "" : member->second));
        row.insert("value", command.value);
        row.insert("state", text_value(state));
        row.insert("text", text_value(text));
        m_rows.add(row);
        m_domains.insert(domain);
        m_symbols.insert(command.name.str());
        if (state != State::written)
        {
            m_failed.insert(command.name.str());
        }
    }

    std::string failures() const
    {
        auto const not_tried = m_rows.count(State::not_tried);
        return std::to_string(m_failed.size() - std::min(not_tried, m_failed.size())) + " failed" +
               (not_tried == 0 ? "" : ", " + std::to_string(not_tried) + " not tried");
    }

    std::map<std::string, std::string> const& m_members;
    Table m_table{{"SYMBOL", "DOMAIN", "VALUE", "OUTCOME"}};
    Rows m_rows{{State::written, State::failed, State::not_tried}};
    /// The symbols with the states in which they have a row.
    std::set<std::pair<std::string, std::string>> m_shown;
    std::set<std::string> m_symbols;
    std::set<std::string> m_failed;
    std::set<std::string> m_domains;
};

/// The extension passes over a nested recipe that does not exist; whoever activates has to know.
void warn_of_missing_recipes(Invocation& invocation, std::string const& recipe)
{
    for (auto const& missing : missing_recipes(recipe, recipe_configuration(invocation.project())))
    {
        invocation.output().warning(missing.holder + " names the recipe '" + missing.name +
                                    "', which does not exist; none of its values is written");
    }
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

Answer activate(Invocation& invocation)
{
    auto const& recipe = invocation.operands()[0];
    warn_of_missing_recipes(invocation, recipe);
    auto const outcome = call_with(invocation, Function::activate_recipe, Parameter::path, recipe);
    auto const members = members_by_symbol(invocation, recipe);
    WrittenSymbols const written(outcome.record, members);
    written.print(invocation.output());
    if (!outcome.succeeded())
    {
        hint_at_unknown_recipe(invocation, recipe);
    }
    auto answer = function_answer(outcome);
    answer.value = written.value();
    return answer;
}

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
