#include "commands.h"

#include "Table.h"
#include "function_answer.h"
#include "recipe_names.h"

#include "Project/report_values.h"

#include "Json/Json.h"

namespace Ravik::CommandLine
{

namespace
{

void print_compared(ValueRows const& values, Rows const& rows, Output& output)
{
    Table table({"MEMBER", "SYMBOL", "STORED", "IN THE CONTROLLER", ""});
    for (auto const& row : values)
    {
        auto const is_compared = !row.symbol.empty();
        auto const* const state = name_of(row.state);
        table.add({{row.member},
                   {is_compared ? row.symbol : std::string(state)},
                   {Json::shown(row.stored)},
                   {is_compared ? Json::shown(row.live) : std::string()},
                   row.state == ValueState::Differs ? Cell{state, Colour::yellow} : Cell{"", Colour::none}});
    }
    table.print(output);
    auto const differing = rows.count(name_of(ValueState::Differs));
    auto const compared = differing + rows.count(name_of(ValueState::Same));
    output.print(differing == 0 ? counted(compared, "value") + " as stored."
                                : std::to_string(differing) + " of " + counted(compared, "value") +
                                      (differing == 1 ? " differs." : " differ."));
    if (auto const stray = rows.count(name_of(ValueState::NoMember)); stray != 0)
    {
        output.print(counted(stray, "value") + (stray == 1 ? " stands" : " stand") +
                     " for no member of the recipe's type; 'update' drops " + (stray == 1 ? "it." : "them."));
    }
}

/// The symbols that could not be read, with the reason that each has of its own.
void print_unread(ValueRows const& rows, Output& output)
{
    Table table({"SYMBOL", "DOMAIN", "OUTCOME"});
    for (auto const& row : rows)
    {
        table.add({{row.symbol}, {row.domain}, {row.text, Colour::red}});
    }
    table.print(output);
}

} // namespace

Answer read(Invocation& invocation)
{
    auto const& name = invocation.operands()[0];
    auto const report = invocation.project().read(name);
    auto answer = recipe_answer(report);
    if (report.succeeded())
    {
        auto const rows = rows_of(
            report.rows, {ValueState::Same, ValueState::Differs, ValueState::NestedRecipe, ValueState::NoMember});
        print_compared(report.rows, rows, invocation.output());
        answer.value = rows.value();
    }
    else
    {
        print_unread(report.rows, invocation.output());
        answer.value = rows_of(report.rows, {ValueState::Unread}).value();
        hint_at_unknown_recipe(invocation, name);
    }
    return answer;
}

} // namespace Ravik::CommandLine
