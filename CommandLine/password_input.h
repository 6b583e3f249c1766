#pragma once

#include <string>

namespace Ravik::CommandLine
{

/// A password that the user gives: asked for twice at the terminal, which does not show it, or the first line of
/// standard input where that is no terminal. `whose` stands in the question. Throws `Failure` where the two differ or
/// there is none.
std::string read_new_password(std::string const& whose);

} // namespace Ravik::CommandLine
