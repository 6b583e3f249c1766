#pragma once

#include "Command.h"

namespace Ravik::CommandLine
{

/// activate RECIPE
Answer activate(Invocation& invocation);
/// call FUNCTION [JSON]
Answer call(Invocation& invocation);

} // namespace Ravik::CommandLine
