#pragma once

#include "Command.h"

/// What activations, their plans and reverts print and answer.
namespace Ravik::CommandLine
{

/// Prints what became of each symbol and a line that sums it up.
void print_activation(ActivationReport const& report, Output& output);
/// Prints what stands in the controllers beside what would be written, and a line that sums it up.
void print_plan(ActivationReport const& report, Output& output);

/// The answer with the rows and the counts of these states.
Answer activation_answer(ActivationReport const& report, std::vector<RowState> const& counted);

/// Warns of nested recipes that do not exist; the extension passes over them.
void warn_of_missing_recipes(Invocation& invocation, std::string const& recipe);

} // namespace Ravik::CommandLine
