#pragma once

#include "Command.h"

#include <string>

namespace Ravik::CommandLine
{

/// Where the path leads nowhere in the configuration that the invocation works on: hints at those that may have been
/// meant, if any.
void hint_at_missing_path(Invocation& invocation, std::string const& path);

} // namespace Ravik::CommandLine
