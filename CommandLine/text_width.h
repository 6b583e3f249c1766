#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Ravik::CommandLine
{

/// The columns that a UTF-8 text takes on a terminal: none for a combining mark, two for a wide character.
std::size_t display_width(std::string_view text);

/// The text with everything that would upset a terminal or mislead a reader written as an escape: control characters
/// (also the ones that begin a terminal's own sequences), line ends and separators of every kind, marks that change the
/// direction of writing, characters that nobody sees, and bytes that are no UTF-8.
std::string printable(std::string_view text);

/// The same, with the line ends left as they are.
std::string printable_lines(std::string_view text);

/// A JSON text, laid out in lines or not, with these characters written as JSON's own escapes: it means what it did.
std::string printable_json(std::string_view json);

/// The text, cut to `width` columns with "…" at its end where it is longer.
std::string shortened(std::string const& text, std::size_t width);

} // namespace Ravik::CommandLine
