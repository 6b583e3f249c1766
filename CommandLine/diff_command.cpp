#include "commands.h"

#include "Table.h"
#include "activation_answer.h"
#include "function_answer.h"
#include "recipe_names.h"
#include "rows.h"

#include "Json/Json.h"

#include <map>
#include <string>

namespace Ravik::CommandLine
{

namespace
{

using RavikSrv::Value;

/// Prints what differs and a line that sums up the rest, and collects the same for `--json`.
class Differences
{
public:
    /// `key` is that of the other side in a row, what stands in the controller or in the other recipe, and `heading`
    /// its column.
    Differences(char const* key, std::string const& heading)
        : m_key(key), m_table({"SYMBOL", "MEMBER", "STORED", heading, "STATE"})
    {
    }

    void add(ActivationRow const& row)
    {
        std::string const state = name_of(row.state);
        ++m_total;
        ++m_counts[state];
        if (row.state == RowState::Same)
        {
            return;
        }
        auto const explained = row.text.empty() ? state : state + ": " + row.text;
        m_table.add({{row.symbol},
                     {row.member},
                     {Json::shown(row.value)},
                     {Json::shown(row.before)},
                     {explained, row.state == RowState::Differs ? Colour::yellow : Colour::red}});
        Value value;
        value.insert("symbol", text_value(row.symbol));
        value.insert("domain", text_value(row.domain));
        value.insert("member", text_value(row.member));
        value.insert("stored", row.value);
        value.insert(m_key, row.before);
        value.insert("state", text_value(state));
        value.insert("text", text_value(row.text));
        m_rows << value;
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
Answer failed_answer(Invocation& invocation, ActivationReport const& report)
{
    hint_at_unknown_recipe(invocation, report.recipe);
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
        return failed_answer(invocation, report);
    }
    Differences differences("live", "IN THE CONTROLLER");
    for (auto const& row : report.rows)
    {
        differences.add(row);
    }
    differences.print(invocation.output());
    auto answer = activation_answer(report, plan_states());
    answer.value = differences.value();
    return answer;
}

Answer against_recipe(Invocation& invocation, std::string const& recipe, std::string const& other)
{
    auto const report = invocation.project().compare(recipe, other);
    if (!report.succeeded())
    {
        return failed_answer(invocation, report);
    }
    Differences differences("other", "IN THE OTHER");
    for (auto const& row : report.rows)
    {
        differences.add(row);
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
