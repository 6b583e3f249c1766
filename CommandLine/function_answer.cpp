#include "function_answer.h"

#include "nearest_name.h"
#include "recipe_names.h"

#include "Configuration/configuration_keys.h"

#include "api_helper.h"

namespace Ravik::CommandLine
{

using RavikSrv::Value;

Answer function_answer(FunctionOutcome const& outcome)
{
    if (outcome.error != RavikSrv::ErrorValue::SUCCESS)
    {
        return answer_of(outcome.error, outcome.text);
    }
    Answer answer;
    answer.result = outcome.result;
    answer.name = outcome.name;
    answer.text = outcome.text;
    answer.value = outcome.value;
    return answer;
}

FunctionOutcome call_with(Invocation& invocation, std::string const& function, char const* key,
                          std::string const& value)
{
    return call_with(invocation, invocation.project().begin_request(), function, key, value);
}

FunctionOutcome call_with(Invocation& invocation, RavikSrv::Session request, std::string const& function,
                          char const* key, std::string const& value)
{
    Value parameters(RavikSrv::ValueType::Struct);
    parameters.insert(key, Value(std::string_view(value)));
    return invocation.project().call(request, std::string(recipe_domain), function, parameters);
}

Cell outcome_cell(ExecutedCommand const& command, char const* done)
{
    if (command.result == RavikSrv::ErrorValue::SUCCESS)
    {
        return {done, Colour::green};
    }
    auto text =
        command.failure.empty() ? std::string(RavikSrv::get_error_string(command.result).name()) : command.failure;
    return {command.text.empty() ? text : text + ": " + command.text, Colour::red};
}

void print_failures(ExecutionRecord const& record, Output& output)
{
    Table table({"SYMBOL", "DOMAIN", "OUTCOME"});
    for (auto const& group : record)
    {
        for (auto const& command : group.commands)
        {
            if (command.result != RavikSrv::ErrorValue::SUCCESS)
            {
                table.add({{command.name}, {group.domain}, outcome_cell(command, "")});
            }
        }
    }
    table.print(output);
}

void hint_at_unknown_recipe(Invocation& invocation, std::string const& recipe)
{
    auto const path = Key::recipe_list + RavikSrv::path_separator() + recipe;
    auto& project = invocation.project();
    std::string const domain(recipe_domain);
    if (project.get(domain, path).succeeded())
    {
        return;
    }
    auto const names = recipe_names(recipe_configuration(project));
    auto const nearest = likely_name(recipe, {names.begin(), names.end()});
    invocation.output().hint("there is no recipe '" + recipe + "'" +
                             (names.empty()     ? "; 'import' brings some into the project"
                              : nearest.empty() ? "; 'get " + std::string(Key::recipe_list) + "' shows all"
                                                : "; did you mean '" + std::string(nearest) + "'?"));
}

} // namespace Ravik::CommandLine
