#include "commands.h"

#include "function_answer.h"
#include "recipe_functions.h"
#include "recipe_names.h"
#include "rows.h"

#include <algorithm>

namespace Ravik::CommandLine
{

namespace
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

void print_lines(std::vector<std::string> const& lines, Output& output)
{
    std::for_each(lines.begin(), lines.end(), [&](std::string const& line) { output.print(line); });
}

/// Why `GetActiveRecipes` failed for the recipe: reading it tells more, where there is such a recipe.
FunctionOutcome why_unread(Invocation& invocation, RavikSrv::Session request, std::string const& name,
                           FunctionOutcome const& outcome)
{
    if (!stored_recipe(invocation.project(), name).isset())
    {
        return outcome;
    }
    auto reading = call_with(invocation, request, Function::read_from_target, Parameter::path, name);
    return reading.succeeded() ? outcome : reading;
}

/// Asks for each of the recipes on its own, so that one that can't be read does not hide the others. All of it belongs
/// to the request that failed for all recipes together, so that no controller that can't be reached is waited for
/// again.
Answer active_one_by_one(Invocation& invocation, RavikSrv::Session request, std::vector<std::string> const& names,
                         Answer answer)
{
    auto& project = invocation.project();
    std::vector<std::string> active;
    Value unread(ValueType::Vector);
    for (auto const& name : names)
    {
        auto const outcome =
            project.call(request, std::string(recipe_domain), Function::get_active_recipes, text_values({name}));
        if (outcome.succeeded())
        {
            auto const found = texts_of(outcome.value);
            active.insert(active.end(), found.begin(), found.end());
            continue;
        }
        auto const told = name_and_text(why_unread(invocation, request, name, outcome));
        answer.messages.push_back(std::string(name).append(": ").append(told));
        Value entry;
        entry.insert("recipe", text_value(name));
        entry.insert("text", text_value(told));
        unread << entry;
        hint_at_unknown_recipe(invocation, name);
    }
    print_lines(active, invocation.output());
    if (!answer.messages.empty())
    {
        answer.text = std::to_string(answer.messages.size()) + " of " + counted(names.size(), "recipe") +
                      " can't be read; " + answer.messages.front() + (answer.messages.size() > 1 ? "; …" : "");
    }
    answer.value = Value(ValueType::Map);
    answer.value.insert("active", text_values(active));
    answer.value.insert("unread", unread);
    return answer;
}

} // namespace

Answer active(Invocation& invocation)
{
    auto const operands = invocation.operands();
    std::vector<std::string> const named(operands.begin(), operands.end());
    auto& project = invocation.project();
    auto const request = project.begin_request();
    auto const outcome = project.call(request, std::string(recipe_domain), Function::get_active_recipes,
                                      named.empty() ? Value() : text_values(named));
    auto answer = function_answer(outcome);
    if (!outcome.succeeded() && outcome.error == ErrorValue::SUCCESS)
    {
        auto const names = named.empty() ? recipe_names(recipe_configuration(project)) : named;
        return active_one_by_one(invocation, request, names, std::move(answer));
    }
    auto const active = texts_of(outcome.value);
    print_lines(active, invocation.output());
    if (outcome.succeeded() && active.empty())
    {
        invocation.output().print(named.empty() ? "No recipe is active." : "None of them is active.");
    }
    return answer;
}

Answer recipes(Invocation& invocation)
{
    auto const found = recipes_of(invocation, invocation.operands()[0]);
    print_lines(found, invocation.output());
    if (found.empty())
    {
        invocation.output().print("No recipe is of this type.");
    }
    Answer answer;
    answer.value = text_values(found);
    return answer;
}

} // namespace Ravik::CommandLine
