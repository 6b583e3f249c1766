#include "commands.h"

#include "Table.h"
#include "configuration_answer.h"
#include "function_answer.h"
#include "recipe_names.h"

#include "Project/report_values.h"

#include "Json/Json.h"

namespace Ravik::CommandLine
{

namespace
{

/// Nothing is saved of a recipe that can't be read; every symbol that failed is a message.
Answer unread_answer(Invocation& invocation, SaveReport const& report, std::string const& name)
{
    RecipeOutcome const reading{
        .error = report.error, .result = report.result, .name = report.name, .text = report.text};
    auto answer = recipe_answer(reading);
    answer.messages.push_back(name_and_text(reading) + "; nothing was saved");
    for (auto const& row : report.rows)
    {
        answer.messages.push_back(row.symbol + ": " + row.text);
    }
    hint_at_unknown_recipe(invocation, name);
    return answer;
}

void print_saved(ValueRows const& rows, Output& output)
{
    Table table({"MEMBER", "SYMBOL", "BEFORE", "SAVED"});
    for (auto const& row : rows)
    {
        if (row.state == ValueState::Saved)
        {
            table.add({{row.member}, {row.symbol}, {Json::shown(row.stored)}, {Json::shown(row.live)}});
        }
    }
    table.print(output);
}

} // namespace

Answer save(Invocation& invocation)
{
    auto const& name = invocation.operands()[0];
    auto const target = invocation.has(Option::as) ? invocation.value(Option::as) : name;
    auto const report = invocation.project().save(
        name,
        {.target = target, .replace = invocation.has(Option::force), .origin = invocation.origin(), .condition = {}});
    if (report.read_failed)
    {
        return unread_answer(invocation, report, name);
    }
    auto answer = configuration_answer(report);
    if (answer.result == 0)
    {
        auto const rows = rows_of(report.rows, {ValueState::Saved, ValueState::Same});
        print_saved(report.rows, invocation.output());
        answer.value = rows.value();
        invocation.output().print("Saved " + target + ": " + counted(rows.count(name_of(ValueState::Saved)), "value") +
                                  " changed, " + std::to_string(rows.count(name_of(ValueState::Same))) + " as stored.");
    }
    return answer;
}

} // namespace Ravik::CommandLine
