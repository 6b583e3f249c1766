#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Ravik::CommandLine
{

/// The columns that a UTF-8 text takes on a terminal: none for a combining mark, two for a wide character.
std::size_t display_width(std::string_view text);

/// The text with everything that would upset a terminal or a reader written as an escape: control characters (also
/// the ones that begin a terminal's own sequences) and bytes that are no UTF-8.
std::string printable(std::string_view text);

/// The same, with the line ends left as they are.
std::string printable_lines(std::string_view text);

/// The text, cut to `width` columns with "…" at its end where it is longer.
std::string shortened(std::string const& text, std::size_t width);

} // namespace Ravik::CommandLine
