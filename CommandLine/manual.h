#pragma once

#include <string>

namespace Ravik::CommandLine
{

/// The manual page `ravik.1`, in the language of man(7), made from what the help is made from.
std::string manual();

} // namespace Ravik::CommandLine
