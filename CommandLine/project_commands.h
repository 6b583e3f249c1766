#pragma once

#include "Command.h"

namespace Ravik::CommandLine
{

/// init [DIR]
Answer init(Invocation& invocation);

} // namespace Ravik::CommandLine
