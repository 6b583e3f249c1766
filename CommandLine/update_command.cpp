#include "commands.h"

#include "Progress.h"
#include "Table.h"
#include "function_answer.h"
#include "recipe_names.h"

#include "Project/report_values.h"

#include <boost/algorithm/string/join.hpp>

#include <optional>

namespace Ravik::CommandLine
{

namespace
{

/// Prints what became of recipes; what failed is told behind the table.
void print(UpdateReport const& report, Rows const& rows, Output& output)
{
    Table table({"RECIPE", "STATE", "CHANGES"});
    for (auto const& row : report.rows)
    {
        auto const colour = row.state == UpdateState::Failed    ? Colour::red
                            : row.state == UpdateState::Updated ? Colour::green
                                                                : Colour::none;
        // A change a line.
        table.add({{row.recipe}, {name_of(row.state), colour}, {row.info.empty() ? std::string() : row.info.front()}});
        for (std::size_t index = 1; index < row.info.size(); ++index)
        {
            table.add({{""}, {""}, {row.info[index]}});
        }
    }
    table.print(output);
    auto const failed = rows.count(name_of(UpdateState::Failed));
    output.print(counted(rows.count(), "recipe") + ": " + std::to_string(rows.count(name_of(UpdateState::Updated))) +
                 " updated, " + std::to_string(rows.count(name_of(UpdateState::Same))) + " that fit already" +
                 (failed == 0 ? "." : ", " + std::to_string(failed) + " failed."));
}

/// The answer is that of the first one that failed.
Answer update_answer(Invocation& invocation, UpdateReport const& report)
{
    std::optional<Answer> first;
    std::vector<std::string> failures;
    for (auto const& row : report.rows)
    {
        if (row.state == UpdateState::Failed)
        {
            hint_at_unknown_recipe(invocation, row.recipe);
            failures.push_back(row.recipe + ": " + row.text);
            first = first ? first : recipe_answer(row);
        }
    }
    auto answer = first.value_or(Answer());
    answer.messages = failures;
    answer.text = boost::join(failures, "; ");
    return answer;
}

/// The recipes to update.
std::vector<std::string> requested(Invocation& invocation)
{
    auto const operands = invocation.operands();
    auto const ways =
        (operands.empty() ? 0 : 1) + (invocation.has(Option::type) ? 1 : 0) + (invocation.has(Option::all) ? 1 : 0);
    if (ways != 1)
    {
        throw UsageError("update takes either recipes, --type TYPE or --all");
    }
    return invocation.has(Option::all)    ? invocation.project().recipe_names().names
           : invocation.has(Option::type) ? recipes_of(invocation, invocation.value(Option::type))
                                          : std::vector<std::string>(operands.begin(), operands.end());
}

} // namespace

Answer update(Invocation& invocation)
{
    auto const names = requested(invocation);
    Progress progress("Updating");
    auto const report = invocation.project().update(
        names, {.origin = invocation.origin(),
                .progress = [&progress](std::size_t done, std::size_t total) { progress.show(done, total); },
                .stop = nullptr});
    progress.clear();
    auto const rows = rows_of(report.rows);
    print(report, rows, invocation.output());
    auto answer = update_answer(invocation, report);
    answer.value = rows.value();
    return answer;
}

} // namespace Ravik::CommandLine
