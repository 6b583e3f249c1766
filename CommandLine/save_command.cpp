#include "commands.h"

#include "Table.h"
#include "ValueComparison.h"
#include "configuration_answer.h"
#include "function_answer.h"
#include "recipe_functions.h"
#include "recipe_names.h"
#include "rows.h"

#include "Configuration/configuration_keys.h"
#include "Configuration/tree.h"
#include "Json/Json.h"

#include "api_helper.h"

namespace Ravik::CommandLine
{

namespace
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;

constexpr char const* saved = "saved";
constexpr char const* same = "same";

std::string shown(Value const& value)
{
    return value.isset() ? Json::write(value) : "-";
}

/// A recipe with the values that were read in the place of its own. One that stands in the controller as far as that
/// can hold it keeps its digits.
class SavedValues
{
public:
    SavedValues(Invocation& invocation, Value const& recipe, Value const& live)
        : m_comparison(invocation.project(), recipe_configuration(invocation.project()), recipe), m_recipe(recipe)
    {
        Value const& stored = recipe[Key::values];
        auto& values = m_recipe[Key::values];
        for (auto value = stored.begin(); value != stored.end(); ++value)
        {
            auto const target = m_comparison.target_of(value.name());
            auto const& read = live[value.name()];
            if (target.symbol.empty())
            {
                continue;
            }
            if (!read.isset())
            {
                m_unread.emplace_back(value.name());
                continue;
            }
            auto const agree = m_comparison.agree(target, *value, read);
            add(target, value.name(), *value, read, agree ? same : saved);
            if (!agree)
            {
                values.insert_or_update(value.name(), read);
            }
        }
    }

    std::vector<std::string> const& unread() const { return m_unread; }
    std::size_t count(char const* state) const { return m_rows.count(state); }
    Value const& recipe() const { return m_recipe; }
    Value rows() const { return m_rows.value(); }
    void print(Output& output) const { m_table.print(output); }

private:
    void add(ValueComparison::Target const& target, std::string const& member, Value const& stored, Value const& live,
             char const* state)
    {
        if (state == saved)
        {
            m_table.add({{member}, {target.symbol}, {shown(stored)}, {shown(live)}});
        }
        Value row;
        row.insert("symbol", text_value(target.symbol));
        row.insert("domain", text_value(target.domain));
        row.insert("member", text_value(member));
        row.insert("stored", stored);
        row.insert("live", live);
        row.insert("state", text_value(state));
        row.insert("text", text_value(""));
        m_rows.add(row);
    }

    ValueComparison m_comparison;
    Value m_recipe;
    std::vector<std::string> m_unread;
    Table m_table{{"MEMBER", "SYMBOL", "BEFORE", "SAVED"}};
    Rows m_rows{{saved, same}};
};

/// Nothing is saved of a recipe that can't be read; every symbol that failed is a message.
Answer unread_answer(Invocation& invocation, FunctionOutcome const& outcome, std::string const& name)
{
    auto answer = function_answer(outcome);
    answer.messages.push_back(name_and_text(outcome) + "; nothing was saved");
    for (auto const& group : outcome.record)
    {
        for (auto const& command : group.commands)
        {
            if (command.result != ErrorValue::SUCCESS)
            {
                answer.messages.push_back(command.name.str() + ": " + failure_text(command));
            }
        }
    }
    hint_at_unknown_recipe(invocation, name);
    return answer;
}

void check_saved(SavedValues const& values, std::string const& name)
{
    if (!values.unread().empty())
    {
        throw Failure(ErrorValue::FAIL,
                      name + ": the value of " + values.unread().front() + " could not be read; nothing was saved");
    }
    if (values.count(saved) + values.count(same) == 0)
    {
        throw Failure(ErrorValue::FAIL,
                      name + ": no value of the recipe stands for a symbol; there is nothing to save");
    }
}

} // namespace

Answer save(Invocation& invocation)
{
    auto const& name = invocation.operands()[0];
    auto const target = invocation.has(Option::as) ? invocation.value(Option::as) : name;
    auto& project = invocation.project();
    if (target != name && !invocation.has(Option::force) && stored_recipe(project, target).isset())
    {
        throw Failure(ErrorValue::UNIQUE, target + " exists already; --force replaces it");
    }
    auto const outcome = call_with(invocation, Function::read_from_target, Parameter::path, name);
    if (!outcome.succeeded())
    {
        return unread_answer(invocation, outcome, name);
    }
    SavedValues const values(invocation, stored_recipe(project, name), outcome.value[name.c_str()][Key::values]);
    check_saved(values, name);
    Answer answer;
    if (target != name || values.count(saved) != 0)
    {
        answer = configuration_answer(project.set(std::string(recipe_domain), Tree::join(Key::recipe_list, target),
                                                  values.recipe(), invocation.origin()));
    }
    if (answer.result == 0)
    {
        values.print(invocation.output());
        answer.value = values.rows();
        invocation.output().print("Saved " + target + ": " + counted(values.count(saved), "value") + " changed, " +
                                  std::to_string(values.count(same)) + " as stored.");
    }
    return answer;
}

} // namespace Ravik::CommandLine
