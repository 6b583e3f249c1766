#include "Json/unicode.h"

#include <boost/locale/utf.hpp>

namespace Ravik::Json
{

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

} // namespace Ravik::Json
