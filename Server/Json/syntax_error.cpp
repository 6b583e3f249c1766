#include "Json/syntax_error.h"

#include "Json/Json.h"
#include "Json/unicode.h"

#include <algorithm>
#include <string>

namespace Ravik::Json
{

namespace
{

constexpr std::string_view blanks = " \t\r\n";

bool is_word_character(char character) noexcept
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '_';
}

std::string control_character(char character)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    auto const code = static_cast<unsigned char>(character);
    return std::string("U+00") + digits[code >> 4U] + digits[code & 15U];
}

/// What stands at the offset, as a message names it: a word, or one character.
std::string found_at(std::string_view text, std::size_t offset)
{
    constexpr std::size_t longest_word = 30;
    auto const rest = text.substr(offset);
    auto const word_end = std::find_if_not(rest.begin(), rest.end(), is_word_character);
    auto const length = std::min(static_cast<std::size_t>(word_end - rest.begin()), longest_word);
    auto const found = rest.substr(0, std::max(length, character_length(rest)));
    return found == "\"" ? "a double quote" : std::string("\"").append(found).append("\"");
}

/// What a person most likely meant with a value, or the beginning of one, where none may stand or no such.
/// `stands_apart` tells whether a blank is before it.
std::string hint_for_value(char found, char before, bool stands_apart)
{
    constexpr std::string_view value_may_follow("\0{[:,", 5);
    auto const may_follow = value_may_follow.find(before) != std::string_view::npos;
    auto const is_word = is_word_character(found);
    auto const starts_value = found == '"' || found == '{' || found == '[';
    if (!may_follow && (starts_value || (is_word && stands_apart)))
    {
        return " (a comma or colon is missing before it)";
    }
    return may_follow && is_word ? " (a text stands in double quotes; other words are true, false and null)" : "";
}

/// What a person most likely meant where the parser met a character that does not belong there.
std::string hint_for(std::string_view text, std::size_t offset)
{
    auto const found = text[offset];
    auto const last = text.substr(0, offset).find_last_not_of(blanks);
    auto const before = last == std::string_view::npos ? '\0' : text[last];
    if (before == ',' && (found == '}' || found == ']'))
    {
        return " (behind a comma another entry is expected)";
    }
    if (found == '/' || found == '#')
    {
        return " (JSON has no comments)";
    }
    if (found == '\'' || (is_word_character(found) && before == '{'))
    {
        return " (texts and keys stand in double quotes)";
    }
    return hint_for_value(found, before, last + 1 < offset);
}

std::string unexpected_character(std::string_view text, std::size_t offset)
{
    constexpr unsigned char first_printable = 0x20;
    auto const character = text[offset];
    if (static_cast<unsigned char>(character) < first_printable)
    {
        return "the control character " + control_character(character) +
               " may not stand here; in a text it is written as an escape";
    }
    if (text.substr(offset).starts_with("\xEF\xBB\xBF"))
    {
        return "the text holds a byte order mark; it has to be UTF-8 without one";
    }
    if (character_length(text.substr(offset)) == 0)
    {
        return "the text is not valid UTF-8";
    }
    return "unexpected " + found_at(text, offset) + hint_for(text, offset);
}

/// Whether an escape ends at the offset that is the first half of a surrogate pair.
bool follows_half_pair(std::string_view text, std::size_t offset) noexcept
{
    constexpr std::string_view start = "\\ud";
    constexpr std::size_t length = 6;
    if (offset < length || (offset > length && text[offset - length - 1] == '\\'))
    {
        return false;
    }
    auto const escape = text.substr(offset - length, start.size());
    return escape == start || escape == "\\uD";
}

} // namespace

ParseError syntax_error(std::string_view text, std::size_t offset, boost::json::error_code const& code)
{
    using boost::json::error;
    auto const at = [text](std::size_t place, std::string const& message)
    { return ParseError(location_of(text, place), message); };
    if (text.find_first_not_of(blanks) == std::string_view::npos)
    {
        return at(offset, "the text is empty; a JSON value is expected");
    }
    if (code == error::too_deep)
    {
        return at(offset, "objects and arrays nest deeper than " + std::to_string(max_nesting) + " levels");
    }
    if (code == error::exponent_overflow)
    {
        // npos + 1 is 0, the text's begin
        return at(text.find_last_not_of("0123456789+-.eE", offset) + 1, "the number's exponent is beyond every range");
    }
    if (code == error::incomplete || offset >= text.size())
    {
        return at(offset, "the text ends before its value is complete");
    }
    if (code == error::illegal_leading_surrogate || code == error::illegal_trailing_surrogate ||
        code == error::expected_utf16_escape || follows_half_pair(text, offset))
    {
        return at(text.rfind('\\', offset), "a \\u escape is one half of a surrogate pair without the other");
    }
    if (code == error::expected_hex_digit)
    {
        return at(text.rfind('\\', offset), "a \\u escape needs four hexadecimal digits");
    }
    return at(offset, unexpected_character(text, offset));
}

ParseError trailing_text_error(std::string_view text, std::size_t offset)
{
    return {location_of(text, offset), "the value is complete, but more text follows it"};
}

} // namespace Ravik::Json
