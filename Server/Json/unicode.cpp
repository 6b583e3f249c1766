#include "Json/unicode.h"

#include <boost/locale/utf.hpp>

namespace Ravik::Json
{

std::size_t character_length(std::string_view text) noexcept
{
    namespace utf = boost::locale::utf;
    auto const* position = text.data();
    auto const point = utf::utf_traits<char>::decode(position, text.data() + text.size());
    return point == utf::illegal || point == utf::incomplete ? 0 : static_cast<std::size_t>(position - text.data());
}

bool is_readable(std::string_view text) noexcept
{
    while (!text.empty())
    {
        auto const length = text.front() == '\0' ? 0 : character_length(text);
        if (length == 0)
        {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

} // namespace Ravik::Json
