#include "Recipes/RecipeOutcome.h"

#include "api_helper.h"

namespace Ravik
{

using RavikSrv::ErrorValue;

RecipeOutcome recipe_outcome(FunctionOutcome const& outcome)
{
    if (outcome.error != ErrorValue::SUCCESS)
    {
        return {.error = outcome.error,
                .result = 0,
                .name = RavikSrv::get_error_string(outcome.error).name(),
                .text = outcome.text};
    }
    return {.error = ErrorValue::SUCCESS, .result = outcome.result, .name = outcome.name, .text = outcome.text};
}

std::string name_and_text(RecipeOutcome const& outcome)
{
    return outcome.text.empty() ? outcome.name : outcome.name + ": " + outcome.text;
}

} // namespace Ravik
