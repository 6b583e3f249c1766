#pragma once

#include "Command.h"

namespace Ravik::CommandLine
{

/// symbols
Answer symbols(Invocation& invocation);
/// symbol get NAME…
Answer symbol_get(Invocation& invocation);
/// symbol set NAME JSON
Answer symbol_set(Invocation& invocation);

} // namespace Ravik::CommandLine
