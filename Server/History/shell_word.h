#pragma once

#include <string>

namespace Ravik
{

/// The text as one word for a shell, in single quotes where it needs them.
std::string shell_word(std::string const& text);

} // namespace Ravik
