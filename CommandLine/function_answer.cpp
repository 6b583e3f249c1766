#include "function_answer.h"

#include "nearest_name.h"
#include "recipe_names.h"

#include "Configuration/Entry.h"
#include "Configuration/configuration_keys.h"

#include "api_helper.h"

namespace Ravik::CommandLine
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;

Answer function_answer(FunctionOutcome const& outcome)
{
    auto answer = recipe_answer(recipe_outcome(outcome));
    answer.value = outcome.error == ErrorValue::SUCCESS ? outcome.value : Value();
    return answer;
}

Answer recipe_answer(RecipeOutcome const& outcome)
{
    if (outcome.error != ErrorValue::SUCCESS)
    {
        return answer_of(outcome.error, outcome.text);
    }
    Answer answer;
    answer.result = outcome.result;
    answer.name = outcome.name;
    answer.text = outcome.text;
    return answer;
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
    auto const found = invocation.project().recipes_of(type);
    if (!found.succeeded() && found.path.empty())
    {
        throw Failure(found.error, found.text);
    }
    if (!found.succeeded())
    {
        auto const types = recipe_type_names(recipe_configuration(invocation.project()));
        auto const meant = did_you_mean(likely_names(type, types));
        throw Failure(ErrorValue::ENTRY_NOT_FOUND,
                      "there is no recipe type '" + type + "'; " +
                          (meant.empty() ? "'get " + std::string(Key::recipe_type_list) + "' shows all" : meant));
    }
    return found.names;
}

} // namespace Ravik::CommandLine
