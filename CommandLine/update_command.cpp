#include "commands.h"

#include "Progress.h"
#include "Table.h"
#include "function_answer.h"
#include "recipe_functions.h"
#include "recipe_names.h"
#include "rows.h"
#include "shell_word.h"

#include "Configuration/configuration_keys.h"
#include "Json/Json.h"

#include <boost/algorithm/string/join.hpp>

#include <algorithm>
#include <iterator>
#include <optional>
#include <unordered_set>

namespace Ravik::CommandLine
{

namespace
{

using RavikSrv::Value;

namespace State
{

constexpr char const* updated = "updated";
constexpr char const* same = "same";
constexpr char const* failed = "failed";

} // namespace State

std::string shown(Value const& value)
{
    return value.isset() ? Json::write(value) : "-";
}

/// What an update changed in the recipe's values, a text each; what it dropped the extension tells.
std::vector<std::string> changes(Value const& before, Value const& after)
{
    std::vector<std::string> texts;
    for (auto value = after.begin(); value != after.end(); ++value)
    {
        auto const& old = before[value.name()];
        if (before.find(value.name()) == before.end())
        {
            texts.push_back(value.name() + (" filled in: " + shown(*value)));
        }
        else if (!(old == *value))
        {
            texts.push_back(value.name() + (" reset: " + shown(*value)) + " instead of " + shown(old));
        }
    }
    return texts;
}

/// Updates recipes one by one, each a turn of its own, and collects how that went.
class Updates
{
public:
    explicit Updates(Invocation& invocation) : m_invocation(invocation) {}

    void update(std::string const& name)
    {
        Value const before = stored_recipe(m_invocation.project(), name);
        auto origin = m_invocation.origin();
        origin.asked = "update " + shell_word(name);
        auto const outcome = call_with(m_invocation, m_invocation.project().begin_request(), Function::update_recipe,
                                       Parameter::path, name, origin);
        Value const after = stored_recipe(m_invocation.project(), name);
        auto info = texts_of(outcome.value[Returned::info]);
        auto const changed = changes(before[Key::values], after[Key::values]);
        info.insert(info.end(), changed.begin(), changed.end());
        auto const* const state = !outcome.succeeded() ? State::failed : before == after ? State::same : State::updated;
        add(name, state, outcome, info);
        if (!outcome.succeeded())
        {
            hint_at_unknown_recipe(m_invocation, name);
            m_failures.push_back(name + ": " + name_and_text(outcome));
            m_first = m_first ? m_first : function_answer(outcome);
        }
    }

    Answer answer(std::size_t total)
    {
        auto& output = m_invocation.output();
        m_table.print(output);
        output.print(counted(total, "recipe") + ": " + std::to_string(m_rows.count(State::updated)) + " updated, " +
                     std::to_string(m_rows.count(State::same)) + " that fit already" +
                     (m_failures.empty() ? "." : ", " + std::to_string(m_failures.size()) + " failed."));
        auto answer = m_first.value_or(Answer());
        answer.messages = m_failures;
        answer.text = boost::join(m_failures, "; ");
        answer.value = m_rows.value();
        return answer;
    }

private:
    void add(std::string const& name, std::string const& state, FunctionOutcome const& outcome,
             std::vector<std::string> const& info)
    {
        auto const text = outcome.succeeded() ? std::string() : name_and_text(outcome);
        auto const colour = state == State::failed    ? Colour::red
                            : state == State::updated ? Colour::green
                                                      : Colour::none;
        // A change a line; what failed is told behind the table.
        m_table.add({{name}, {state, colour}, {info.empty() ? std::string() : info.front()}});
        for (std::size_t index = 1; index < info.size(); ++index)
        {
            m_table.add({{""}, {""}, {info[index]}});
        }
        Value row;
        row.insert("recipe", text_value(name));
        row.insert("state", text_value(state));
        row.insert("text", text_value(text));
        row.insert("info", text_values(info));
        m_rows.add(row);
    }

    Invocation& m_invocation;
    Table m_table{{"RECIPE", "STATE", "CHANGES"}};
    Rows m_rows{{State::updated, State::same, State::failed}};
    std::vector<std::string> m_failures;
    std::optional<Answer> m_first;
};

/// The recipes to update, each once.
std::vector<std::string> requested(Invocation& invocation)
{
    auto const operands = invocation.operands();
    auto const ways =
        (operands.empty() ? 0 : 1) + (invocation.has(Option::type) ? 1 : 0) + (invocation.has(Option::all) ? 1 : 0);
    if (ways != 1)
    {
        throw UsageError("update takes either recipes, --type TYPE or --all");
    }
    auto const names = invocation.has(Option::all)    ? recipe_names(recipe_configuration(invocation.project()))
                       : invocation.has(Option::type) ? recipes_of(invocation, invocation.value(Option::type))
                                                      : std::vector<std::string>(operands.begin(), operands.end());
    std::unordered_set<std::string> known;
    std::vector<std::string> once;
    std::copy_if(names.begin(), names.end(), std::back_inserter(once),
                 [&known](std::string const& name) { return known.insert(name).second; });
    return once;
}

} // namespace

Answer update(Invocation& invocation)
{
    auto const names = requested(invocation);
    Updates updates(invocation);
    Progress progress("Updating");
    std::size_t done = 0;
    for (auto const& name : names)
    {
        progress.show(done++, names.size());
        updates.update(name);
    }
    progress.clear();
    return updates.answer(names.size());
}

} // namespace Ravik::CommandLine
