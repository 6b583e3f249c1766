#include "commands.h"

#include "Table.h"
#include "activation_answer.h"
#include "function_answer.h"
#include "recipe_names.h"
#include "rows.h"

#include "Json/Json.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>

namespace Ravik::CommandLine
{

namespace
{

using RavikSrv::Value;

std::string shown(Value const& value)
{
    return value.isset() ? Json::write(value) : "-";
}

/// A symbol on two sides: what the recipe stores, and what stands in the controller or in the other recipe.
struct Pair
{
    ActivationRow const& row;
    Value other;
    RowState state;
    std::string text;
};

/// Prints what differs and a line that sums up the rest, and collects the same for `--json`.
class Differences
{
public:
    /// `key` is that of the other side in a row, `heading` its column.
    Differences(char const* key, std::string const& heading)
        : m_key(key), m_table({"SYMBOL", "MEMBER", "STORED", heading, "STATE"})
    {
    }

    void add(Pair const& pair)
    {
        std::string const state = name_of(pair.state);
        ++m_total;
        ++m_counts[state];
        if (pair.state == RowState::Same)
        {
            return;
        }
        auto const explained = pair.text.empty() ? state : state + ": " + pair.text;
        m_table.add({{pair.row.symbol},
                     {pair.row.member},
                     {shown(pair.row.value)},
                     {shown(pair.other)},
                     {explained, pair.state == RowState::Differs ? Colour::yellow : Colour::red}});
        Value row;
        row.insert("symbol", text_value(pair.row.symbol));
        row.insert("domain", text_value(pair.row.domain));
        row.insert("member", text_value(pair.row.member));
        row.insert("stored", pair.row.value);
        row.insert(m_key, pair.other);
        row.insert("state", text_value(state));
        row.insert("text", text_value(pair.text));
        m_rows << row;
    }

    void print(Output& output) const
    {
        m_table.print(output);
        auto const differing = count(name_of(RowState::Differs));
        std::string text =
            std::to_string(differing) + " of " + counted(m_total, "symbol") + (differing == 1 ? " differs" : " differ");
        for (auto const& [state, number] : m_counts)
        {
            text += state == name_of(RowState::Differs) ? "" : ", " + std::to_string(number) + ' ' + state;
        }
        output.print(text + '.');
    }

    Value value() const
    {
        Value counts(RavikSrv::ValueType::Map);
        for (auto const state : plan_states())
        {
            counts.insert(name_of(state), static_cast<long>(count(name_of(state))));
        }
        for (auto const& [state, number] : m_counts)
        {
            counts.insert_or_update(state.c_str(), Value(static_cast<long>(number)));
        }
        Value value;
        value.insert("counts", counts);
        value.insert("rows", m_rows);
        return value;
    }

private:
    std::size_t count(std::string const& state) const
    {
        auto const found = m_counts.find(state);
        return found == m_counts.end() ? 0 : found->second;
    }

    char const* m_key;
    Table m_table;
    std::size_t m_total = 0;
    std::map<std::string, std::size_t> m_counts;
    Value m_rows{RavikSrv::ValueType::Vector};
};

/// The answer of a plan that failed as such; the rows tell which symbols are at fault.
Answer failed_answer(Invocation& invocation, ActivationReport const& report, std::string const& recipe)
{
    hint_at_unknown_recipe(invocation, recipe);
    return activation_answer(report, plan_states());
}

/// Whether the recipe's function itself failed, so that there is nothing to compare.
bool has_failed(ActivationReport const& report)
{
    return !report.succeeded() && report.error != RavikSrv::ErrorValue::FAIL;
}

Answer against_controllers(Invocation& invocation, std::string const& recipe)
{
    auto const report = invocation.project().plan(recipe);
    if (has_failed(report))
    {
        return failed_answer(invocation, report, recipe);
    }
    Differences differences("live", "IN THE CONTROLLER");
    for (auto const& row : report.rows)
    {
        differences.add({.row = row, .other = row.before, .state = row.state, .text = row.text});
    }
    differences.print(invocation.output());
    auto answer = activation_answer(report, plan_states());
    answer.value = differences.value();
    return answer;
}

Answer against_recipe(Invocation& invocation, std::string const& recipe, std::string const& other)
{
    auto& project = invocation.project();
    auto const left = project.expected(recipe);
    auto const right = left.succeeded() ? project.expected(other) : left;
    if (!right.succeeded())
    {
        return failed_answer(invocation, right, left.succeeded() ? other : recipe);
    }
    Differences differences("other", "IN THE OTHER");
    std::unordered_map<std::string_view, ActivationRow const*> others;
    for (auto const& row : right.rows)
    {
        others.emplace(row.symbol, &row);
    }
    for (auto const& row : left.rows)
    {
        auto const found = others.find(row.symbol);
        auto const is_in_both = found != others.end();
        auto const same = is_in_both && found->second->value == row.value;
        differences.add({.row = row,
                         .other = is_in_both ? found->second->value : Value(),
                         .state = same ? RowState::Same : RowState::Differs,
                         .text = is_in_both ? std::string() : "only in " + recipe});
        others.erase(row.symbol);
    }
    for (auto row : right.rows)
    {
        if (others.contains(row.symbol))
        {
            auto const value = std::exchange(row.value, Value());
            differences.add({.row = row, .other = value, .state = RowState::Differs, .text = "only in " + other});
        }
    }
    differences.print(invocation.output());
    Answer answer;
    answer.value = differences.value();
    return answer;
}

} // namespace

Answer diff(Invocation& invocation)
{
    auto const operands = invocation.operands();
    return operands.size() == 1 ? against_controllers(invocation, operands[0])
                                : against_recipe(invocation, operands[0], operands[1]);
}

} // namespace Ravik::CommandLine
