#pragma once

#include <string>
#include <sys/types.h>

namespace Ravik
{

/// The name of a user's account, "uid 1000" where he has none: as the history tells who did something.
std::string account_of(uid_t user);

} // namespace Ravik
