#include "Http/Log.h"

#include "Json/Json.h"
#include "Json/unicode.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <ctime>

namespace Ravik::Service
{
namespace
{

/// The time in UTC with milliseconds, as RFC 3339 writes it.
std::string now()
{
    auto const since_epoch = std::chrono::system_clock::now().time_since_epoch();
    auto const milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(since_epoch).count();
    std::time_t const seconds = milliseconds / 1000;
    std::tm parts{};
    ::gmtime_r(&seconds, &parts);
    std::array<char, 32> text{};
    auto const length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    std::array<char, 8> fraction{};
    std::snprintf(fraction.data(), fraction.size(), ".%03dZ", static_cast<int>(milliseconds % 1000));
    return std::string(text.data(), length) + fraction.data();
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

std::string escaped(std::string_view text)
{
    std::string result;
    while (!text.empty())
    {
        auto const character = Json::first_character(text);
        if (is_harmless(character))
        {
            result += character.bytes;
        }
        else if (character.code == '\\')
        {
            result += "\\\\";
        }
        else
        {
            append_bytes(result, character.bytes);
        }
        text.remove_prefix(character.bytes.size());
    }
    return result;
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
    write(m_form == Form::json ? json_line(event, text, details) : now() + ' ' + escaped(event) + ' ' + escaped(text));
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
