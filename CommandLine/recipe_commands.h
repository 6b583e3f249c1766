#pragma once

#include "Command.h"

namespace Ravik::CommandLine
{

/// read RECIPE
Answer read(Invocation& invocation);
/// recipes TYPE
Answer recipes(Invocation& invocation);
/// active [RECIPE…]
Answer active(Invocation& invocation);
/// update RECIPE
Answer update(Invocation& invocation);

} // namespace Ravik::CommandLine
