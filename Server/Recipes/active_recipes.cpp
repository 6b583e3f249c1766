#include "Recipes/active_recipes.h"

#include "Recipes/recipe_functions.h"
#include "Recipes/text_list.h"

#include <algorithm>
#include <iterator>

namespace Ravik
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;

namespace
{

/// Why `GetActiveRecipes` failed for the recipe: reading it tells more, where there is such a recipe.
FunctionOutcome why_unread(RecipeAccess const& access, RavikSrv::Session request, std::string const& name,
                           FunctionOutcome const& outcome)
{
    if (!access.recipe(name).isset())
    {
        return outcome;
    }
    auto reading = access.call(request, Function::read_from_target, Parameter::path, name);
    return reading.succeeded() ? outcome : reading;
}

/// Asks for each of the recipes on its own, so that one that can't be read does not hide the others. All of it belongs
/// to the request that failed for all recipes together, so that no controller that can't be reached is waited for
/// again.
void look_one_by_one(RecipeAccess const& access, RavikSrv::Session request, std::vector<std::string> const& names,
                     ActiveOptions const& options, ActiveReport& report)
{
    report.looked_at = names.size();
    std::size_t done = 0;
    for (auto const& name : names)
    {
        if (options.stop != nullptr && options.stop->load())
        {
            report.stopped = true;
            break;
        }
        if (options.progress)
        {
            options.progress(done++, names.size());
        }
        auto const outcome = access.call(request, Function::get_active_recipes, text_values({name}));
        auto found = outcome.succeeded() ? texts_of(outcome.value) : std::vector<std::string>();
        std::move(found.begin(), found.end(), std::back_inserter(report.active));
        if (!outcome.succeeded())
        {
            auto const why = why_unread(access, request, name, outcome);
            report.unread.push_back({.recipe = name, .text = name_and_text(recipe_outcome(why))});
        }
    }
}

/// Asks for all of the recipes, or to the first failure, in a few calls, so that one sees how far it has come. Within a
/// request nothing is read twice.
FunctionOutcome look_together(RecipeAccess const& access, RavikSrv::Session request,
                              std::vector<std::string> const& names, ActiveOptions const& options, ActiveReport& report)
{
    constexpr std::size_t most_calls = 20;
    auto const at_once = std::max<std::size_t>((names.size() + most_calls - 1) / most_calls, 1);
    FunctionOutcome outcome;
    auto name = names.begin();
    do
    {
        if (options.progress)
        {
            options.progress(static_cast<std::size_t>(name - names.begin()), names.size());
        }
        auto const count = std::min(at_once, static_cast<std::size_t>(names.end() - name));
        std::vector<std::string> const asked(name, name + static_cast<std::ptrdiff_t>(count));
        name += static_cast<std::ptrdiff_t>(count);
        outcome = access.call(request, Function::get_active_recipes, asked.empty() ? Value() : text_values(asked));
        auto found = texts_of(outcome.value);
        std::move(found.begin(), found.end(), std::back_inserter(report.active));
    } while (outcome.succeeded() && name != names.end());
    return outcome;
}

} // namespace

ActiveReport active_recipes(RecipeAccess const& access, std::vector<std::string> const& recipes,
                            ActiveOptions const& options)
{
    auto const pin = access.pin();
    auto const request = access.begin_request();
    auto const names = recipes.empty() ? access.names() : recipes;
    ActiveReport report;
    auto const outcome = look_together(access, request, names, options, report);
    static_cast<RecipeOutcome&>(report) = recipe_outcome(outcome);
    if (!outcome.succeeded() && outcome.error == ErrorValue::SUCCESS)
    {
        report.active.clear();
        look_one_by_one(access, request, names, options, report);
    }
    return report;
}

} // namespace Ravik
