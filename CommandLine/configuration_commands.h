#pragma once

#include "Command.h"

namespace Ravik::CommandLine
{

/// get [PATH]
Answer get(Invocation& invocation);
/// export [FILE]
Answer export_lists(Invocation& invocation);

} // namespace Ravik::CommandLine
