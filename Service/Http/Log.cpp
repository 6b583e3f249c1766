#include "Http/Log.h"

#include "Json/Json.h"
#include "Json/unicode.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>

namespace Ravik::Service
{
namespace
{

void append_digits(std::string& text, unsigned number, int digits)
{
    auto const begin = text.size();
    text.append(static_cast<std::size_t>(digits), '0');
    for (auto place = text.size(); place > begin; number /= 10)
    {
        text[--place] = static_cast<char>('0' + number % 10);
    }
}

/// The time in UTC with milliseconds, as RFC 3339 writes it. A line is written for each request, so it does without
/// locales and formats.
std::string now()
{
    using namespace std::chrono;
    auto const time = floor<milliseconds>(system_clock::now());
    auto const day = floor<days>(time);
    year_month_day const date(day);
    hh_mm_ss const clock(time - day);
    std::string text;
    text.reserve(sizeof "2000-01-01T00:00:00.000Z");
    append_digits(text, static_cast<unsigned>(static_cast<int>(date.year())), 4);
    text += '-';
    append_digits(text, static_cast<unsigned>(date.month()), 2);
    text += '-';
    append_digits(text, static_cast<unsigned>(date.day()), 2);
    text += 'T';
    append_digits(text, static_cast<unsigned>(clock.hours().count()), 2);
    text += ':';
    append_digits(text, static_cast<unsigned>(clock.minutes().count()), 2);
    text += ':';
    append_digits(text, static_cast<unsigned>(clock.seconds().count()), 2);
    text += '.';
    append_digits(text, static_cast<unsigned>(clock.subseconds().count()), 3);
    text += 'Z';
    return text;
}

/// What would break the line or steer a terminal: control characters, those beyond ASCII and line ends among them.
bool is_harmless(Json::Character const& character)
{
    auto const code = character.code;
    bool const is_control = code < 0x20 || (code >= 0x7f && code < 0xa0);
    bool const is_line_end = code == 0x2028 || code == 0x2029;
    bool const turns_direction = (code >= 0x202a && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069);
    return character.valid && !is_control && !is_line_end && !turns_direction && code != '\\';
}

void append_bytes(std::string& text, std::string_view bytes)
{
    constexpr std::string_view digits = "0123456789abcdef";
    for (char const each : bytes)
    {
        auto const byte = static_cast<unsigned char>(each);
        text += "\\x";
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
}

constexpr bool is_plain(char each) noexcept
{
    return each >= ' ' && each < '\x7f' && each != '\\';
}

void append_escaped(std::string& line, std::string_view text)
{
    while (!text.empty())
    {
        auto const plain =
            static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), is_plain) - text.begin());
        line += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.empty())
        {
            return;
        }
        auto const character = Json::first_character(text);
        if (is_harmless(character))
        {
            line += character.bytes;
        }
        else if (character.code == '\\')
        {
            line += "\\\\";
        }
        else
        {
            append_bytes(line, character.bytes);
        }
        text.remove_prefix(character.bytes.size());
    }
}

std::string text_line(std::string_view event, std::string_view text)
{
    auto line = now();
    line.reserve(line.size() + event.size() + text.size() + 2);
    line += ' ';
    append_escaped(line, event);
    line += ' ';
    append_escaped(line, text);
    return line;
}

void insert(RavikSrv::Value& object, std::string_view name, std::string_view text)
{
    object.insert(std::string(name).c_str(), RavikSrv::Value(text));
}

std::string json_line(std::string_view event, std::string_view text, Log::Details const& details)
{
    RavikSrv::Value line(RavikSrv::ValueType::Map);
    insert(line, "time", now());
    insert(line, "event", event);
    insert(line, "text", text);
    for (auto const& [name, value] : details)
    {
        insert(line, name, value);
    }
    return Json::write(line);
}

} // namespace

void Log::tell(std::string_view event, std::string_view text, Details const& details)
{
    write(m_form == Form::json ? json_line(event, text, details) : text_line(event, text));
}

void Log::write(std::string const& line)
{
    // One call for the whole line, so that those of several threads do not mix.
    std::string const whole = line + '\n';
    std::string_view rest = whole;
    while (!rest.empty())
    {
        auto const written = ::write(STDERR_FILENO, rest.data(), rest.size());
        if (written < 0 && errno != EINTR)
        {
            return;
        }
        rest.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
}

} // namespace Ravik::Service
