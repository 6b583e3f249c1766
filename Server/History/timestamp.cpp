#include "History/timestamp.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <string_view>

namespace Ravik
{

namespace
{

using std::chrono::system_clock;

/// Takes a text apart from its front. What fails leaves a reader that fails for good.
class Reader
{
public:
    explicit Reader(std::string_view text) : m_rest(text) {}

    bool is_at_end() const noexcept { return m_rest.empty(); }
    bool has_failed() const noexcept { return m_failed; }

    /// A number of so many digits, between these.
    int number(std::size_t digits, int least, int most)
    {
        int value = 0;
        auto const text = m_rest.substr(0, digits);
        auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        auto const is_whole = text.size() == digits && error == std::errc() && end == text.data() + digits;
        m_failed = m_failed || !is_whole || text.front() == '-' || value < least || value > most;
        m_rest.remove_prefix(text.size());
        return value;
    }

    /// One of these characters, 0 where none stands there.
    char next_of(std::string_view characters)
    {
        if (m_rest.empty() || characters.find(m_rest.front()) == std::string_view::npos)
        {
            return '\0';
        }
        auto const found = m_rest.front();
        m_rest.remove_prefix(1);
        return found;
    }
    void expect(char character) { m_failed = m_failed || next_of({&character, 1}) == '\0'; }

    std::chrono::milliseconds fraction()
    {
        int thousandths = 0;
        int digits = 0;
        for (auto digit = next_of("0123456789"); digit != '\0'; digit = next_of("0123456789"), ++digits)
        {
            thousandths = digits < 3 ? thousandths * 10 + (digit - '0') : thousandths;
        }
        m_failed = m_failed || digits == 0;
        for (; digits < 3; ++digits)
        {
            thousandths *= 10;
        }
        return std::chrono::milliseconds(thousandths);
    }

private:
    std::string_view m_rest;
    bool m_failed = false;
};

std::chrono::minutes read_offset(Reader& reader)
{
    auto const sign = reader.next_of("Zz+-");
    if (sign != '+' && sign != '-')
    {
        return {};
    }
    std::chrono::minutes offset = std::chrono::hours(reader.number(2, 0, 23));
    reader.expect(':');
    offset += std::chrono::minutes(reader.number(2, 0, 59));
    return sign == '+' ? offset : -offset;
}

std::chrono::milliseconds read_time_of_day(Reader& reader)
{
    std::chrono::milliseconds time = std::chrono::hours(reader.number(2, 0, 23));
    reader.expect(':');
    time += std::chrono::minutes(reader.number(2, 0, 59));
    if (reader.next_of(":") != '\0')
    {
        time += std::chrono::seconds(reader.number(2, 0, 60));
        time += reader.next_of(".") != '\0' ? reader.fraction() : std::chrono::milliseconds(0);
    }
    return time - read_offset(reader);
}

} // namespace

std::string timestamp(system_clock::time_point time)
{
    using namespace std::chrono;
    auto const day = floor<days>(time);
    year_month_day const date(day);
    hh_mm_ss const clock(floor<milliseconds>(time - day));
    std::array<char, 40> text{};
    auto const length =
        std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(date.year()),
                      static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                      static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                      static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
    return {text.data(), static_cast<std::size_t>(length)};
}

std::optional<system_clock::time_point> read_timestamp(std::string const& text)
{
    using namespace std::chrono;
    Reader reader(text);
    auto const year_number = reader.number(4, 1970, 9999);
    reader.expect('-');
    auto const month_number = reader.number(2, 1, 12);
    reader.expect('-');
    auto const day_number = reader.number(2, 1, 31);
    year_month_day const date(year{year_number}, month{static_cast<unsigned>(month_number)},
                              day{static_cast<unsigned>(day_number)});
    milliseconds time(0);
    if (!reader.is_at_end())
    {
        auto const goes_on = reader.next_of("Tt ") != '\0';
        time = goes_on ? read_time_of_day(reader) : time;
    }
    // Beyond these years a time has another number of digits, or none that the clock can count.
    constexpr int last_year = 2200;
    if (reader.has_failed() || !reader.is_at_end() || !date.ok() || year_number > last_year)
    {
        return std::nullopt;
    }
    return sys_days(date) + time;
}

} // namespace Ravik
