#include "activation_answer.h"

#include "Table.h"
#include "recipe_names.h"

#include "Configuration/recipe_needs.h"
#include "ControllerOutcome.h"
#include "Json/Json.h"

#include <algorithm>
#include <set>

namespace Ravik::CommandLine
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;

namespace
{

Cell outcome_of(ActivationRow const& row)
{
    std::string const state = name_of(row.state);
    auto const explained = row.text.empty() ? state : state + ": " + row.text;
    switch (row.state)
    {
    case RowState::Verified:
    case RowState::Same:
        return {state, Colour::green};
    case RowState::Written:
        return {explained, row.text.empty() ? Colour::green : Colour::yellow};
    case RowState::Failed:
        return {row.text.empty() ? state : row.text, Colour::red};
    case RowState::Differs:
        return {explained, row.text.empty() ? Colour::yellow : Colour::red};
    case RowState::NotTried:
        // A controller that was given up says why; else the reason stands in another row.
        return {row.text.find(RavikSrv::not_tried) == std::string::npos ? state : row.text, Colour::yellow};
    default:
        return {explained, Colour::yellow};
    }
}

bool is_written(ActivationRow const& row)
{
    return row.state == RowState::Written || row.state == RowState::Verified || row.state == RowState::Differs;
}

/// ", 1 failed, 3 not tried", without what does not occur.
std::string others(ActivationRows const& rows, std::initializer_list<RowState> states)
{
    std::string text;
    for (auto const state : states)
    {
        if (auto const number = count(rows, state); number != 0)
        {
            text += ", " + std::to_string(number) + ' ' + name_of(state);
        }
    }
    return text;
}

std::string written_summary(ActivationRows const& rows)
{
    std::set<std::string> domains;
    for (auto const& row : rows)
    {
        if (is_written(row))
        {
            domains.insert(row.domain);
        }
    }
    auto const where = domains.empty() ? std::string() : " in " + counted(domains.size(), "domain");
    auto const written = static_cast<std::size_t>(std::count_if(rows.begin(), rows.end(), is_written));
    auto const all = written == rows.size();
    return (all ? counted(written, "symbol") : std::to_string(written) + " of " + counted(rows.size(), "symbol")) +
           " written" + where +
           others(rows, {RowState::Failed, RowState::NotTried, RowState::NotWritten, RowState::Same}) + '.';
}

/// "33 verified.", empty where nothing was read back.
std::string verified_summary(ActivationRows const& rows)
{
    auto const verified = count(rows, RowState::Verified);
    auto const differing = count(rows, RowState::Differs);
    if (verified == 0 && differing == 0)
    {
        return {};
    }
    return ' ' + std::to_string(verified) + " verified" +
           (differing == 0 ? "." : ", " + std::to_string(differing) + (differing == 1 ? " differs." : " differ."));
}

} // namespace

void print_activation(ActivationReport const& report, Output& output)
{
    Table table({"SYMBOL", "DOMAIN", "BEFORE", "VALUE", "OUTCOME"});
    for (auto const& row : report.rows)
    {
        table.add({{row.symbol}, {row.domain}, {Json::shown(row.before)}, {Json::shown(row.value)}, outcome_of(row)});
    }
    table.print(output);
    auto const any = std::any_of(report.rows.begin(), report.rows.end(), is_written);
    output.print(!any && count(report.rows, RowState::Failed) == 0 && count(report.rows, RowState::Same) == 0
                     ? "No symbol was written."
                     : written_summary(report.rows) + verified_summary(report.rows));
    if (report.id)
    {
        output.print("It is record " + std::to_string(*report.id) + " of the history.");
    }
}

void print_plan(ActivationReport const& report, Output& output)
{
    Table table({"SYMBOL", "DOMAIN", "IN THE CONTROLLER", "VALUE", "STATE"});
    for (auto const& row : report.rows)
    {
        table.add({{row.symbol}, {row.domain}, {Json::shown(row.before)}, {Json::shown(row.value)}, outcome_of(row)});
    }
    table.print(output);
    if (report.rows.empty())
    {
        output.print("No symbol would be written.");
        return;
    }
    auto const differing = count(report.rows, RowState::Differs);
    auto const rest = others(
        report.rows, {RowState::Same, RowState::Unread, RowState::NotWritten, RowState::Failed, RowState::NotTried});
    output.print(std::to_string(differing) + " of " + counted(report.rows.size(), "symbol") +
                 (differing == 1 ? " differs" : " differ") + rest + ". Nothing was written.");
}

Answer activation_answer(ActivationReport const& report, std::vector<RowState> const& counted)
{
    Answer answer;
    if (report.error != ErrorValue::SUCCESS)
    {
        answer = answer_of(report.error, report.text);
    }
    else
    {
        answer.result = report.result;
        answer.name = report.name.empty() ? answer.name : report.name;
        answer.text = report.text;
    }
    Value rows = value_of(report.rows, counted);
    if (report.id)
    {
        answer.value.insert("id", *report.id);
    }
    for (auto entry = rows.begin(); entry != rows.end(); ++entry)
    {
        answer.value.insert(entry.name(), *entry);
    }
    return answer;
}

void warn_of_missing_recipes(Invocation& invocation, std::string const& recipe)
{
    for (auto const& missing : missing_recipes(recipe, recipe_configuration(invocation.project())))
    {
        invocation.output().warning(missing.holder + " names the recipe '" + missing.name +
                                    "', which does not exist; none of its values is written");
    }
}

} // namespace Ravik::CommandLine
