#include "commands.h"

#include "Table.h"
#include "ValueComparison.h"
#include "function_answer.h"
#include "nearest_name.h"
#include "recipe_functions.h"
#include "recipe_names.h"
#include "text_width.h"

#include "Configuration/configuration_keys.h"
#include "Json/Json.h"

#include "algorithm_helper.h"
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
using RavikSrv::Algorithm::to_string;

std::string shown(Value const& value)
{
    return value.isset() ? Json::write(value) : "-";
}

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

Value stored_recipe(Invocation& invocation, std::string const& recipe)
{
    auto const path = Key::recipe_list + RavikSrv::path_separator() + recipe;
    return invocation.project().get(std::string(recipe_domain), path).value;
}

std::vector<std::string> texts_of(Value const& vector)
{
    std::vector<std::string> texts;
    for (auto element = vector.begin_vector(); element != vector.end_vector(); ++element)
    {
        texts.push_back(to_string(*element));
    }
    return texts;
}

void print_lines(std::vector<std::string> const& lines, Output& output)
{
    for (auto const& line : lines)
    {
        output.print(printable(line));
    }
}

/// Prints the values that the recipe stores beside those that were read, and marks those that differ.
void print_values(Invocation& invocation, Value const& recipe, Value const& current)
{
    auto& project = invocation.project();
    auto const configuration = recipe_configuration(project);
    ValueComparison const comparison(project, configuration, recipe);
    Table table({"MEMBER", "SYMBOL", "STORED", "IN THE CONTROLLER", ""});
    std::size_t differing = 0;
    std::size_t compared = 0;
    Value const& values = recipe[Key::values];
    for (auto value = values.begin(); value != values.end(); ++value)
    {
        auto const symbol = comparison.symbol_of(value.name());
        if (symbol.empty())
        {
            table.add({{value.name()}, {"nested recipe"}, {shown(*value)}, {""}, {""}});
            continue;
        }
        auto const& read = current[value.name()];
        auto const same = comparison.agree(value.name(), *value, read);
        table.add({{value.name()},
                   {symbol},
                   {shown(*value)},
                   {shown(read)},
                   same ? Cell{"", Colour::none} : Cell{"differs", Colour::yellow}});
        ++compared;
        differing += same ? 0U : 1U;
    }
    table.print(invocation.output());
    invocation.output().print(differing == 0 ? counted(compared, "value") + " as stored."
                                             : std::to_string(differing) + " of " + counted(compared, "value") +
                                                   (differing == 1 ? " differs." : " differ."));
}

/// Asks for each recipe on its own, so that one that can't be read does not hide the others. All of it belongs to the
/// request that failed for all recipes together, so that no controller that can't be reached is waited for again.
Answer active_one_by_one(Invocation& invocation, RavikSrv::Session request, Answer answer)
{
    auto& project = invocation.project();
    auto const names = recipe_names(recipe_configuration(project));
    Value active(ValueType::Vector);
    for (auto const& name : names)
    {
        Value one;
        one << Value(std::string_view(name));
        auto const outcome = project.call(request, std::string(recipe_domain), Function::get_active_recipes, one);
        if (outcome.succeeded())
        {
            for (auto found = outcome.value.begin_vector(); found != outcome.value.end_vector(); ++found)
            {
                active << *found;
            }
            continue;
        }
        auto const reading = call_with(invocation, request, Function::read_from_target, Parameter::path, name);
        auto const& told = reading.succeeded() ? outcome : reading;
        answer.messages.push_back(name + ": " + told.name + (told.text.empty() ? "" : ": " + told.text));
    }
    print_lines(texts_of(active), invocation.output());
    answer.value = active;
    return answer;
}

/// Tells what an update changed in the recipe's values.
void print_changes(Value const& before, Value const& after, Output& output)
{
    for (auto value = after.begin(); value != after.end(); ++value)
    {
        auto const& old = before[value.name()];
        if (before.find(value.name()) == before.end())
        {
            output.print(printable(std::string(value.name())) + " filled in: " + shown(*value));
        }
        else if (!(old == *value))
        {
            output.print(printable(std::string(value.name())) + " reset: " + shown(*value) + " instead of " +
                         shown(old));
        }
    }
}

} // namespace

Answer activate(Invocation& invocation)
{
    auto const& recipe = invocation.operands()[0];
    auto const outcome = call_with(invocation, Function::activate_recipe, Parameter::path, recipe);
    print_record(outcome.record, invocation.output());
    if (!outcome.succeeded())
    {
        hint_at_unknown_recipe(invocation, recipe);
    }
    return function_answer(outcome);
}

Answer read(Invocation& invocation)
{
    auto const& name = invocation.operands()[0];
    auto const outcome = call_with(invocation, Function::read_from_target, Parameter::path, name);
    if (outcome.succeeded())
    {
        Value const& answers = outcome.value;
        print_values(invocation, stored_recipe(invocation, name), answers[name.c_str()][Key::values]);
    }
    else
    {
        print_failures(outcome.record, invocation.output());
        hint_at_unknown_recipe(invocation, name);
    }
    return function_answer(outcome);
}

Answer active(Invocation& invocation)
{
    Value names;
    for (auto const& name : invocation.operands())
    {
        names << Value(std::string_view(name));
    }
    auto& project = invocation.project();
    auto const request = project.begin_request();
    auto const outcome = project.call(request, std::string(recipe_domain), Function::get_active_recipes, names);
    auto answer = function_answer(outcome);
    if (!outcome.succeeded() && outcome.error == ErrorValue::SUCCESS && names.empty())
    {
        return active_one_by_one(invocation, request, std::move(answer));
    }
    auto const active = texts_of(outcome.value);
    print_lines(active, invocation.output());
    if (outcome.succeeded() && active.empty())
    {
        invocation.output().print(names.empty() ? "No recipe is active." : "None of them is active.");
    }
    if (!outcome.succeeded() && names.size() == 1)
    {
        hint_at_unknown_recipe(invocation, invocation.operands()[0]);
    }
    return answer;
}

Answer recipes(Invocation& invocation)
{
    auto const& type = invocation.operands()[0];
    auto const outcome = call_with(invocation, Function::get_recipes, Parameter::recipe_type_path, type);
    auto const found = texts_of(outcome.value);
    print_lines(found, invocation.output());
    if (outcome.succeeded() && found.empty())
    {
        auto const types = recipe_type_names(recipe_configuration(invocation.project()));
        auto const known = std::find(types.begin(), types.end(), type) != types.end();
        auto const nearest = likely_name(type, {types.begin(), types.end()});
        invocation.output().print(known
                                      ? "No recipe is of this type."
                                      : "There is no recipe type '" + printable(type) + "'" +
                                            (nearest.empty() ? "." : "; did you mean '" + std::string(nearest) + "'?"));
    }
    return function_answer(outcome);
}

Answer update(Invocation& invocation)
{
    auto const& name = invocation.operands()[0];
    Value const before = stored_recipe(invocation, name);
    auto const outcome = call_with(invocation, Function::update_recipe, Parameter::path, name);
    Value const after = stored_recipe(invocation, name);
    auto const info = texts_of(outcome.value[Returned::info]);
    print_lines(info, invocation.output());
    print_changes(before[Key::values], after[Key::values], invocation.output());
    if (outcome.succeeded() && before == after)
    {
        invocation.output().print("The recipe fits its type already.");
    }
    if (!outcome.succeeded())
    {
        hint_at_unknown_recipe(invocation, name);
    }
    return function_answer(outcome);
}

} // namespace Ravik::CommandLine
