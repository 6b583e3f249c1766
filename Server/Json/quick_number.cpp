#include "Json/quick_number.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace Ravik::Json::QuickNumber
{

double nearest(char const* begin, char const* end) noexcept
{
    auto number = 0.0;
    // So few digits without an exponent are in the range of a double.
    std::from_chars(begin, end, number);
    return number;
}

char const* end_of(char const* begin, char const* end) noexcept
{
    constexpr std::string_view other = "+-.eE";
    return std::find_if_not(begin, end,
                            [&](char character)
                            { return is_digit(character) || other.find(character) != std::string_view::npos; });
}

} // namespace Ravik::Json::QuickNumber
