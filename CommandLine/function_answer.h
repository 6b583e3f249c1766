#pragma once

#include "Command.h"
#include "Table.h"

#include <string>

namespace Ravik::CommandLine
{

/// A function's outcome as the answer of a command: the extension's result, or the server's error.
Answer function_answer(FunctionOutcome const& outcome);
/// Its name and text in one.
std::string name_and_text(FunctionOutcome const& outcome);

/// Calls a function of the recipe management with one parameter, as a request of its own or as part of `request`.
FunctionOutcome call_with(Invocation& invocation, std::string const& function, char const* key,
                          std::string const& value);
FunctionOutcome call_with(Invocation& invocation, RavikSrv::Session request, std::string const& function,
                          char const* key, std::string const& value, Origin const& origin = {});

/// How the command ended, in colour; `done` is the word for success.
Cell outcome_cell(ExecutedCommand const& command, char const* done);

/// The recipes of a recipe type and of those that inherit from it. Throws `Failure` where there is no such type.
std::vector<std::string> recipes_of(Invocation& invocation, std::string const& type);

/// The extension answers for an unknown recipe as for one of an unknown type, so the user is told which it is.
void hint_at_unknown_recipe(Invocation& invocation, std::string const& recipe);

} // namespace Ravik::CommandLine
