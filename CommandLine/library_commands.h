#pragma once

#include "Configuration/LibraryStatus.h"

#include <string>

namespace Ravik::CommandLine
{

/// What whoever reads a copy of a library should know of it: that it could not be brought forward, and why. Empty where
/// it goes along.
std::string library_note(LibraryStatus const& status);

} // namespace Ravik::CommandLine
