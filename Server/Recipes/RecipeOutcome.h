#pragma once

#include "Execution/FunctionOutcome.h"

#include "RavikSrvExtApi.h"

#include <string>

namespace Ravik
{

/// How a function of the recipe management ended.
struct [[nodiscard]] RecipeOutcome
{
    /// The server's own error, as of a `FunctionOutcome`.
    RavikSrv::ErrorValue error = RavikSrv::ErrorValue::SUCCESS;
    /// The extension's result, 0 for success, and the name that the extension gives to it.
    unsigned result = 0;
    std::string name{};
    /// What there is to say about it, for a person.
    std::string text{};

    bool succeeded() const noexcept { return error == RavikSrv::ErrorValue::SUCCESS && result == 0; }
};

RecipeOutcome recipe_outcome(FunctionOutcome const& outcome);

/// Its name and text in one.
std::string name_and_text(RecipeOutcome const& outcome);

} // namespace Ravik
