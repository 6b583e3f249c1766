#pragma once

#include "Command.h"

#include "Access/UserList.h"

namespace Ravik::CommandLine
{

/// Those who may come into the project's service. Throws `ProjectError` where the folder holds no project or one that
/// somebody else could change, `Failure` where the list can't be read.
Service::UserList users_and_tokens(Invocation const& invocation);

} // namespace Ravik::CommandLine
