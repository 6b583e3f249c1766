#pragma once

#include "Activation/ActivationRow.h"
#include "Execution/ExecutionRecord.h"
#include "Execution/SymbolTable.h"

#include <string>

namespace Ravik
{

/// The rows of what a planning session recorded for the activation of a recipe of the configuration `tree`: a row for
/// each symbol in the order of the writes, and one for each that the recipe has a value for and that no activation
/// writes.
ActivationRows planned_rows(std::string const& recipe, ExecutionRecord const& record, RavikSrv::Value const& tree,
                            SymbolTable const& symbols);

/// Gives the planned rows the states with which their writes ended; those that were not reached are `NotTried`.
void settle(ActivationRows& rows, ExecutionRecord const& record);

} // namespace Ravik
