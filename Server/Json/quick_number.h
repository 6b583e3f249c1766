#pragma once

#include "RavikSrvExt/Value.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

/// Numbers as most of them are: integers and decimals of few digits. Reading them is most of what reading a
/// recipe takes, so it is compiled into its caller.
namespace Ravik::Json::QuickNumber
{

/// No number of so many digits overflows 64 bits.
inline constexpr std::ptrdiff_t most_digits = 18;

inline bool is_digit(char character) noexcept
{
    return character >= '0' && character <= '9';
}

/// Appends the digits at `at` to the number, which is right up to `most_digits` of them, and steps behind them.
inline char const* take_digits(char const* at, char const* end, std::uint64_t& number) noexcept
{
    for (; at != end && is_digit(*at); ++at)
    {
        number = number * 10 + static_cast<std::uint64_t>(*at - '0');
    }
    return at;
}

/// The double that is nearest to the number between `begin` and `end`.
double nearest(char const* begin, char const* end) noexcept;

inline void append_integer(std::uint64_t digits, bool is_negative, std::vector<RavikSrv::Value>& to)
{
    auto const number = static_cast<std::int64_t>(is_negative ? 0 - digits : digits);
    auto const narrow = static_cast<std::int32_t>(number);
    narrow == number ? to.emplace_back(narrow) : to.emplace_back(number);
}

/// digits / 10^decimals. Where both fit a double the division alone rounds, to the nearest one.
inline double quotient(std::uint64_t digits, std::ptrdiff_t decimals) noexcept
{
    constexpr std::array powers{1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8, 1e9,
                                1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18};
    static_assert(powers.size() == most_digits + 1);
    return static_cast<double>(digits) / powers[static_cast<std::size_t>(decimals)];
}

/// Reads the exponent behind the digits between `begin` and `end_of_digits`; otherwise as `read`.
char const* read_exponent(char const* begin, char const* end_of_digits, char const* end,
                          std::vector<RavikSrv::Value>& to);

/// Reads the number that begins at `begin`, appends it to `to` and returns where it ends. Null, and nothing appended,
/// where none begins there, and where it is an unusual one: of more than `most_digits`, or with an exponent beyond the
/// range of a double.
inline char const* read(char const* begin, char const* end, std::vector<RavikSrv::Value>& to)
{
    auto const is_negative = begin != end && *begin == '-';
    auto const* const first = is_negative ? begin + 1 : begin;
    std::uint64_t digits = 0;
    auto const* const whole = take_digits(first, end, digits);
    if (whole == first || whole - first > most_digits || (*first == '0' && whole - first > 1))
    {
        return nullptr;
    }
    auto const is_decimal = whole != end && *whole == '.';
    auto const* const last = is_decimal ? take_digits(whole + 1, end, digits) : whole;
    auto const decimals = is_decimal ? last - whole - 1 : 0;
    if ((is_decimal && decimals == 0) || whole - first + decimals > most_digits)
    {
        return nullptr;
    }
    if (last != end && (*last == 'e' || *last == 'E'))
    {
        return read_exponent(begin, last, end, to);
    }
    if (!is_decimal)
    {
        append_integer(digits, is_negative, to);
        return last;
    }
    constexpr auto most_exact = std::uint64_t{1} << 53U;
    auto const size = digits <= most_exact ? quotient(digits, decimals) : nearest(first, last);
    to.emplace_back(is_negative ? -size : size);
    return last;
}

/// Where a number ends at the latest, usual or not.
char const* end_of(char const* begin, char const* end) noexcept;

} // namespace Ravik::Json::QuickNumber
