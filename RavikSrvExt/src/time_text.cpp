#include "time_text.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdio>

namespace RavikSrv::Detail
{

namespace
{

using std::chrono::microseconds;
using Days = std::chrono::sys_days;

constexpr std::int64_t microseconds_in_second = 1'000'000;
constexpr std::size_t fraction_digits = 6;

/// "" or ".5": the digits of a fraction of a second without zeros at the end.
std::string fraction_text(std::uint64_t microseconds_of_second)
{
    if (microseconds_of_second == 0)
    {
        return {};
    }
    auto digits = std::to_string(microseconds_of_second);
    digits.insert(0, fraction_digits - digits.size(), '0');
    digits.erase(digits.find_last_not_of('0') + 1);
    return "." + digits;
}

/// Takes a decimal number of exactly `digits` digits (any number of digits where that is 0) off the front of `text`.
std::optional<std::int64_t> take_number(std::string_view& text, std::size_t digits)
{
    auto const length = digits == 0 ? std::min(text.find_first_not_of("0123456789"), text.size()) : digits;
    if (length == 0 || length > text.size() ||
        text.substr(0, length).find_first_not_of("0123456789") != std::string_view::npos)
    {
        return std::nullopt;
    }
    std::int64_t number = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + length, number);
    if (error != std::errc())
    {
        return std::nullopt;
    }
    text.remove_prefix(length);
    return number;
}

bool take(std::string_view& text, std::string_view expected)
{
    if (!text.starts_with(expected))
    {
        return false;
    }
    text.remove_prefix(expected.size());
    return true;
}

/// Takes ".5" off the front where it stands there; nothing where a point has no digits or too many behind it.
std::optional<std::int64_t> take_fraction(std::string_view& text)
{
    if (!take(text, "."))
    {
        return 0;
    }
    auto const digits = std::min(text.find_first_not_of("0123456789"), text.size());
    if (digits == 0 || digits > fraction_digits)
    {
        return std::nullopt;
    }
    auto number = take_number(text, digits);
    for (auto position = digits; position < fraction_digits; ++position)
    {
        *number *= 10;
    }
    return number;
}

std::optional<Days> take_date(std::string_view& text)
{
    auto const year = take_number(text, 4);
    auto const month = year && take(text, "-") ? take_number(text, 2) : std::nullopt;
    auto const day = month && take(text, "-") ? take_number(text, 2) : std::nullopt;
    if (!day)
    {
        return std::nullopt;
    }
    std::chrono::year_month_day const date{std::chrono::year(static_cast<int>(*year)),
                                           std::chrono::month(static_cast<unsigned>(*month)),
                                           std::chrono::day(static_cast<unsigned>(*day))};
    return date.ok() ? std::optional<Days>(date) : std::nullopt;
}

/// The time of day in microseconds.
std::optional<std::int64_t> take_time(std::string_view& text)
{
    auto const hour = take_number(text, 2);
    auto const minute = hour && take(text, ":") ? take_number(text, 2) : std::nullopt;
    auto const second = minute && take(text, ":") ? take_number(text, 2) : std::nullopt;
    auto const fraction = second ? take_fraction(text) : std::nullopt;
    if (!fraction || *hour > 23 || *minute > 59 || *second > 59)
    {
        return std::nullopt;
    }
    return ((*hour * 60 + *minute) * 60 + *second) * microseconds_in_second + *fraction;
}

} // namespace

std::optional<std::string> to_text(Timestamp time)
{
    using namespace std::chrono_literals;
    constexpr std::chrono::sys_time<microseconds> first = Days(0000y / 1 / 1);
    constexpr std::chrono::sys_time<microseconds> behind_last = Days(10000y / 1 / 1);
    std::chrono::sys_time<microseconds> const point{microseconds(time.microseconds)};
    if (point < first || point >= behind_last)
    {
        return std::nullopt;
    }
    auto const day = std::chrono::floor<std::chrono::days>(point);
    std::chrono::year_month_day const date{day};
    std::chrono::hh_mm_ss const clock{point - day};
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()));
    return text.data() + fraction_text(static_cast<std::uint64_t>(clock.subseconds().count())) + "Z";
}

std::optional<std::string> to_text(Timespan span)
{
    auto const negative = span.microseconds < 0;
    auto const total =
        negative ? 0 - static_cast<std::uint64_t>(span.microseconds) : static_cast<std::uint64_t>(span.microseconds);
    return (negative ? "-PT" : "PT") + std::to_string(total / microseconds_in_second) +
           fraction_text(total % microseconds_in_second) + "S";
}

std::optional<Timestamp> timestamp_from(std::string_view text)
{
    auto const day = take_date(text);
    auto const time = day && take(text, "T") ? take_time(text) : std::nullopt;
    if (!time || text != "Z")
    {
        return std::nullopt;
    }
    return Timestamp{microseconds(day->time_since_epoch()).count() + *time};
}

std::optional<Timespan> timespan_from(std::string_view text)
{
    auto const negative = take(text, "-");
    auto const seconds = take(text, "PT") ? take_number(text, 0) : std::nullopt;
    auto const fraction = seconds ? take_fraction(text) : std::nullopt;
    std::int64_t const sign = negative ? -1 : 1;
    std::int64_t total = 0;
    if (!fraction || text != "S" || __builtin_mul_overflow(*seconds, sign * microseconds_in_second, &total) ||
        __builtin_add_overflow(total, sign * *fraction, &total))
    {
        return std::nullopt;
    }
    return Timespan{total};
}

} // namespace RavikSrv::Detail
