#include "Json/unicode.h"

#include <boost/locale/utf.hpp>

#include <algorithm>
#include <array>

namespace Ravik::Json
{

namespace
{

struct Range
{
    char32_t first;
    char32_t last;
};

/// The joiners U+200C and U+200D are not among them: scripts need them.
constexpr std::array<Range, 12> hidden{{
    {0x0000, 0x001F},   // controls
    {0x007F, 0x009F},   // delete, and the controls of eight bits
    {0x061C, 0x061C},   // Arabic letter mark
    {0x180E, 0x180E},   // Mongolian vowel separator
    {0x200B, 0x200B},   // zero width space
    {0x200E, 0x200F},   // direction marks
    {0x2028, 0x202E},   // line and paragraph separator, embeddings and overrides of the direction
    {0x2060, 0x206F},   // word joiner, invisible operators, isolates, deprecated format characters
    {0xFEFF, 0xFEFF},   // byte order mark
    {0xFFF9, 0xFFFB},   // interlinear annotation
    {0x1D173, 0x1D17A}, // musical format characters
    {0xE0000, 0xE0FFF}, // tags and variation selectors
}};

} // namespace

Character first_character(std::string_view text) noexcept
{
    namespace utf = boost::locale::utf;
    auto const* position = text.data();
    auto const point = utf::utf_traits<char>::decode(position, text.data() + text.size());
    if (point == utf::illegal || point == utf::incomplete)
    {
        return {.bytes = text.substr(0, 1)};
    }
    auto const length = static_cast<std::size_t>(position - text.data());
    return {.code = point, .bytes = text.substr(0, length), .valid = true};
}

std::size_t character_length(std::string_view text) noexcept
{
    auto const character = first_character(text);
    return character.valid ? character.bytes.size() : 0;
}

bool is_utf8(std::string_view text) noexcept
{
    while (!text.empty())
    {
        auto const length = character_length(text);
        if (length == 0)
        {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

bool is_readable(std::string_view text) noexcept
{
    return text.find('\0') == std::string_view::npos && is_utf8(text);
}

bool is_hidden(char32_t code) noexcept
{
    return std::any_of(hidden.begin(), hidden.end(),
                       [code](Range const& range) { return code >= range.first && code <= range.last; });
}

} // namespace Ravik::Json
