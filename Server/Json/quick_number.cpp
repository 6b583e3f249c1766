#include "Json/quick_number.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <system_error>

namespace Ravik::Json::QuickNumber
{

using RavikSrv::Value;

double nearest(char const* begin, char const* end) noexcept
{
    auto number = 0.0;
    // So few digits without an exponent are in the range of a double.
    std::from_chars(begin, end, number);
    return number;
}

char const* read_exponent(char const* begin, char const* end_of_digits, char const* end, std::vector<Value>& to)
{
    constexpr std::ptrdiff_t most_exponent_digits = 3;
    auto const* const behind = end_of_digits + 1;
    auto const* const first = behind != end && (*behind == '+' || *behind == '-') ? behind + 1 : behind;
    auto const* const last = std::find_if_not(first, end, is_digit);
    auto number = 0.0;
    if (last == first || last - first > most_exponent_digits || std::from_chars(begin, last, number).ec != std::errc())
    {
        return nullptr;
    }
    to.emplace_back(number);
    return last;
}

char const* end_of(char const* begin, char const* end) noexcept
{
    constexpr std::string_view other = "+-.eE";
    return std::find_if_not(begin, end,
                            [&](char character)
                            { return is_digit(character) || other.find(character) != std::string_view::npos; });
}

} // namespace Ravik::Json::QuickNumber
