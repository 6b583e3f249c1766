#include "function_answer.h"

#include "nearest_name.h"
#include "recipe_functions.h"
#include "recipe_names.h"

#include "Configuration/Entry.h"
#include "Configuration/configuration_keys.h"

#include "api_helper.h"

#include <algorithm>

namespace Ravik::CommandLine
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;

Answer function_answer(FunctionOutcome const& outcome)
{
    if (outcome.error != ErrorValue::SUCCESS)
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

std::string name_and_text(FunctionOutcome const& outcome)
{
    auto const answer = function_answer(outcome);
    return answer.text.empty() ? answer.name : answer.name + ": " + answer.text;
}

FunctionOutcome call_with(Invocation& invocation, std::string const& function, char const* key,
                          std::string const& value)
{
    return call_with(invocation, invocation.project().begin_request(), function, key, value);
}

FunctionOutcome call_with(Invocation& invocation, RavikSrv::Session request, std::string const& function,
                          char const* key, std::string const& value, Origin const& origin)
{
    Value parameters(RavikSrv::ValueType::Struct);
    parameters.insert(key, Value(std::string_view(value)));
    return invocation.project().call(request, std::string(recipe_domain), function, parameters, origin);
}

Cell outcome_cell(ExecutedCommand const& command, char const* done)
{
    if (command.result == ErrorValue::SUCCESS)
    {
        return {done, Colour::green};
    }
    return {failure_text(command), Colour::red};
}

void hint_at_unknown_recipe(Invocation& invocation, std::string const& recipe)
{
    auto const path = Key::recipe_list + RavikSrv::path_separator() + recipe;
    auto& project = invocation.project();
    std::string const domain(recipe_domain);
    if (auto const present = project.get(domain, path);
        present.succeeded() && kind_of(path, present.value) == EntryKind::Recipe)
    {
        return;
    }
    auto const names = recipe_names(recipe_configuration(project));
    auto const meant = did_you_mean(likely_names(recipe, names));
    invocation.output().hint("there is no recipe '" + recipe + "'; " +
                             (names.empty()   ? "'import' brings some into the project"
                              : meant.empty() ? "'get " + std::string(Key::recipe_list) + "' shows all"
                                              : meant));
}

std::vector<std::string> recipes_of(Invocation& invocation, std::string const& type)
{
    auto const outcome = call_with(invocation, Function::get_recipes, Parameter::recipe_type_path, type);
    if (outcome.error != ErrorValue::SUCCESS)
    {
        throw Failure(outcome.error, outcome.text);
    }
    if (!outcome.succeeded())
    {
        throw Failure(ErrorValue::EXTENSION, name_and_text(outcome));
    }
    auto found = texts_of(outcome.value);
    if (!found.empty())
    {
        return found;
    }
    auto const types = recipe_type_names(recipe_configuration(invocation.project()));
    if (std::find(types.begin(), types.end(), type) == types.end())
    {
        auto const meant = did_you_mean(likely_names(type, types));
        throw Failure(ErrorValue::ENTRY_NOT_FOUND,
                      "there is no recipe type '" + type + "'; " +
                          (meant.empty() ? "'get " + std::string(Key::recipe_type_list) + "' shows all" : meant));
    }
    return found;
}

} // namespace Ravik::CommandLine
