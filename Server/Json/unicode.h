#pragma once

#include <cstddef>
#include <string_view>

/// The one reading of UTF-8 in the server and the program: of JSON texts, names, arguments and what is shown.
namespace Ravik::Json
{

/// A character of a text: its code point and its bytes. A byte that begins no UTF-8 character stands alone and is not
/// `valid`.
struct Character
{
    char32_t code = 0;
    std::string_view bytes;
    bool valid = false;
};

/// The character that a text begins with, which must not be empty.
Character first_character(std::string_view text) noexcept;

/// The number of bytes of the UTF-8 character that the text begins with; 0 where it begins with none.
std::size_t character_length(std::string_view text) noexcept;

/// Whether the text is UTF-8.
bool is_utf8(std::string_view text) noexcept;

/// Whether the text is UTF-8 without U+0000, as JSON texts and names have to be here.
bool is_readable(std::string_view text) noexcept;

/// Whether the character would upset a terminal or mislead a reader: controls (also those of eight bits), line ends and
/// separators, marks that change the direction of writing, and what nobody sees.
bool is_hidden(char32_t code) noexcept;

} // namespace Ravik::Json
