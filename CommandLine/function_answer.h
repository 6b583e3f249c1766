#pragma once

#include "Command.h"

#include <string>

namespace Ravik::CommandLine
{

/// A function's outcome as the answer of a command: the extension's result, or the server's error.
Answer function_answer(FunctionOutcome const& outcome);
Answer recipe_answer(RecipeOutcome const& outcome);

/// The recipes of a recipe type and of those that inherit from it. Throws `Failure` where there is no such type.
std::vector<std::string> recipes_of(Invocation& invocation, std::string const& type);

/// The extension answers for an unknown recipe as for one of an unknown type, so the user is told which it is.
void hint_at_unknown_recipe(Invocation& invocation, std::string const& recipe);

} // namespace Ravik::CommandLine
