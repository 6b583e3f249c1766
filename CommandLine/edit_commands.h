#pragma once

#include "Command.h"

namespace Ravik::CommandLine
{

/// set PATH JSON
Answer set(Invocation& invocation);
/// delete PATH
Answer remove(Invocation& invocation);
/// rename PATH NEW_PATH
Answer rename(Invocation& invocation);
/// import FILE
Answer import(Invocation& invocation);
/// check
Answer check(Invocation& invocation);

} // namespace Ravik::CommandLine
