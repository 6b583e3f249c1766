#include "commands.h"

#include "Table.h"
#include "activation_answer.h"
#include "function_answer.h"
#include "recipe_names.h"

#include "Project/report_values.h"

#include "Json/Json.h"

#include <string>

namespace Ravik::CommandLine
{

namespace
{

/// Prints what differs and a line that sums up the rest; `heading` is the column of the other side.
void print(ActivationRows const& rows, Rows const& counted_rows, std::string const& heading, Output& output)
{
    Table table({"SYMBOL", "MEMBER", "STORED", heading, "STATE"});
    for (auto const& row : rows)
    {
        if (row.state != RowState::Same)
        {
            std::string const state = name_of(row.state);
            table.add({{row.symbol},
                       {row.member},
                       {Json::shown(row.value)},
                       {Json::shown(row.before)},
                       {row.text.empty() ? state : state + ": " + row.text,
                        row.state == RowState::Differs ? Colour::yellow : Colour::red}});
        }
    }
    table.print(output);
    auto const differing = counted_rows.count(name_of(RowState::Differs));
    std::string text =
        std::to_string(differing) + " of " + counted(rows.size(), "symbol") + (differing == 1 ? " differs" : " differ");
    for (auto const& [state, number] : counted_rows.counts())
    {
        text += state == name_of(RowState::Differs) ? "" : ", " + std::to_string(number) + ' ' + state;
    }
    output.print(text + '.');
}

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
    auto const rows = comparison_of(report.rows, "live");
    print(report.rows, rows, "IN THE CONTROLLER", invocation.output());
    auto answer = activation_answer(report, plan_states());
    answer.value = rows.value();
    return answer;
}

Answer against_recipe(Invocation& invocation, std::string const& recipe, std::string const& other)
{
    auto const report = invocation.project().compare(recipe, other);
    if (!report.succeeded())
    {
        return failed_answer(invocation, report);
    }
    auto const rows = comparison_of(report.rows, "other");
    print(report.rows, rows, "IN THE OTHER", invocation.output());
    Answer answer;
    answer.value = rows.value();
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
