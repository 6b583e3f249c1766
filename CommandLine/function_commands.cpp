#include "function_commands.h"

#include "Table.h"
#include "function_answer.h"
#include "nearest_name.h"
#include "recipe_names.h"
#include "text_width.h"

#include "Json/Json.h"

#include "api_helper.h"

#include <algorithm>
#include <set>

namespace Ravik::CommandLine
{

namespace
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

/// Prints what was written to which symbol, and a line that sums it up.
void print_record(ExecutionRecord const& record, Output& output)
{
    Table table({"SYMBOL", "DOMAIN", "VALUE", "OUTCOME"});
    // A symbol may be written in more than one group; it counts once.
    std::set<std::string> symbols;
    std::set<std::string> failed;
    std::set<std::string> domains;
    for (auto const& group : record)
    {
        for (auto const& command : group.commands)
        {
            if (!command.wrote)
            {
                continue;
            }
            table.add({{command.name}, {group.domain}, {Json::write(command.value)}, outcome_cell(command, "written")});
            symbols.insert(command.name);
            if (command.result != ErrorValue::SUCCESS)
            {
                failed.insert(command.name);
            }
            domains.insert(group.domain);
        }
    }
    table.print(output);
    auto const where = " in " + counted(domains.size(), "domain");
    auto const written = symbols.size() - failed.size();
    output.print(symbols.empty()  ? "No symbol was written."
                 : failed.empty() ? counted(written, "symbol") + " written" + where + '.'
                                  : std::to_string(written) + " of " + counted(symbols.size(), "symbol") + " written" +
                                        where + ", " + std::to_string(failed.size()) + " failed.");
}

/// The server's message says what there is; the hint picks what was probably meant.
void hint_at_unknown_function(Invocation& invocation, std::string const& domain, std::string const& function)
{
    auto const& project = invocation.project();
    auto const domains = project.domains();
    auto const functions = project.functions(domain);
    auto const known = std::find(domains.begin(), domains.end(), domain) != domains.end();
    auto const nearest = known ? likely_name(function, {functions.begin(), functions.end()})
                               : likely_name(domain, {domains.begin(), domains.end()});
    if (!nearest.empty() && nearest != function)
    {
        invocation.output().hint("did you mean the " + std::string(known ? "function" : "domain") + " '" +
                                 std::string(nearest) + "'?");
    }
}

} // namespace

Answer activate(Invocation& invocation)
{
    auto const& recipe = invocation.operands()[0];
    auto const outcome = call_with(invocation, "ActivateRecipe", "path", recipe);
    print_record(outcome.record, invocation.output());
    if (!outcome.succeeded())
    {
        hint_at_unknown_recipe(invocation, recipe);
    }
    return function_answer(outcome);
}

Answer call(Invocation& invocation)
{
    auto const operands = invocation.operands();
    auto const domain = invocation.domain();
    auto parameters = operands.size() > 1 ? json_operand(operands[1]) : Value();
    if (parameters.type() == ValueType::Map)
    {
        parameters.convert(ValueType::Struct);
    }
    auto const outcome = invocation.project().call(domain, operands[0], parameters);
    if (outcome.value.isset())
    {
        invocation.output().print(Json::write(outcome.value, Json::Layout::Indented));
    }
    else if (outcome.succeeded())
    {
        invocation.output().print(printable(operands[0]) + ": done");
    }
    if (outcome.error != ErrorValue::SUCCESS)
    {
        hint_at_unknown_function(invocation, domain, operands[0]);
    }
    return function_answer(outcome);
}

} // namespace Ravik::CommandLine
