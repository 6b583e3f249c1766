#include "commands.h"

#include "Progress.h"
#include "function_answer.h"
#include "recipe_functions.h"
#include "recipe_names.h"
#include "rows.h"

#include <algorithm>
#include <iterator>

namespace Ravik::CommandLine
{

namespace
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

constexpr char const* examined = "Recipes examined:";

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
    Progress progress(examined);
    std::size_t done = 0;
    for (auto const& name : names)
    {
        progress.show(done++, names.size());
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
        progress.clear();
        hint_at_unknown_recipe(invocation, name);
    }
    progress.clear();
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

/// Asks for all of the recipes, or to the first failure, in a few calls, so that it shows how far it has come. Within a
/// request nothing is read twice.
FunctionOutcome active_together(Project& project, RavikSrv::Session request, std::vector<std::string> const& names)
{
    constexpr std::size_t most_calls = 20;
    auto const at_once = std::max<std::size_t>((names.size() + most_calls - 1) / most_calls, 1);
    Progress progress(examined);
    FunctionOutcome outcome;
    std::vector<std::string> active;
    auto name = names.begin();
    do
    {
        progress.show(static_cast<std::size_t>(name - names.begin()), names.size());
        std::vector<std::string> asked;
        std::copy_n(name, std::min(at_once, static_cast<std::size_t>(names.end() - name)), std::back_inserter(asked));
        name += static_cast<std::ptrdiff_t>(asked.size());
        outcome = project.call(request, std::string(recipe_domain), Function::get_active_recipes,
                               asked.empty() ? Value() : text_values(asked));
        auto const found = texts_of(outcome.value);
        active.insert(active.end(), found.begin(), found.end());
    } while (outcome.succeeded() && name != names.end());
    progress.clear();
    if (outcome.succeeded())
    {
        outcome.value = text_values(active);
    }
    return outcome;
}

} // namespace

Answer active(Invocation& invocation)
{
    auto const operands = invocation.operands();
    std::vector<std::string> const named(operands.begin(), operands.end());
    auto& project = invocation.project();
    auto const request = project.begin_request();
    auto const names = named.empty() ? recipe_names(recipe_configuration(project)) : named;
    auto const outcome = active_together(project, request, names);
    auto answer = function_answer(outcome);
    if (!outcome.succeeded() && outcome.error == ErrorValue::SUCCESS)
    {
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
