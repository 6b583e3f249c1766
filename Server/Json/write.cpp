#include "Json/Json.h"
#include "Json/unicode.h"

#include <boost/archive/iterators/base64_from_binary.hpp>
#include <boost/archive/iterators/transform_width.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <vector>

namespace Ravik::Json
{

using RavikSrv::ConstIterator;
using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

bool has_entries(Value const& value) noexcept
{
    switch (value.type())
    {
    case ValueType::Map:
    case ValueType::Struct:
    case ValueType::Event:
    case ValueType::Message:
    case ValueType::Alarm:
        return true;
    default:
        return false;
    }
}

bool is_container(Value const& value) noexcept
{
    return has_entries(value) || value.type() == ValueType::Vector;
}

/// A container on the way from the root to where a walk stands, and what comes next in it.
struct Level
{
    explicit Level(Value const& value) noexcept
        : container(&value), map(has_entries(value)), entry(value.begin()), element(value.begin_vector())
    {
    }

    bool at_end() const noexcept { return map ? entry == container->end() : element == container->end_vector(); }
    Value const& take() noexcept { return map ? *entry++ : *element++; }

    Value const* container;
    bool map;
    ConstIterator<Value> entry;
    RavikSrv::ConstVectorIterator<Value> element;
};

// Scalars -------------------------------------------------------------------------------------------------------------

void append_escape(std::string& text, unsigned char character)
{
    constexpr std::string_view digits = "0123456789abcdef";
    constexpr std::string_view plain = "\"\\\b\f\n\r\t";
    constexpr std::string_view letters = "\"\\bfnrt";
    text += '\\';
    if (auto const known = plain.find(static_cast<char>(character)); known != std::string_view::npos)
    {
        text += letters[known];
        return;
    }
    text += "u00";
    text += digits[character >> 4U];
    text += digits[character & 15U];
}

/// The number of bytes at the front that stand for themselves inside a JSON text without a closer look.
std::size_t plain_length(std::string_view bytes) noexcept
{
    auto const special = std::find_if(bytes.begin(), bytes.end(),
                                      [](char byte)
                                      {
                                          auto const code = static_cast<unsigned char>(byte);
                                          return code < 0x20 || code >= 0x80 || byte == '"' || byte == '\\';
                                      });
    return static_cast<std::size_t>(special - bytes.begin());
}

void append_text(std::string& text, std::string_view content)
{
    constexpr std::string_view replacement = "\xEF\xBF\xBD";
    text += '"';
    while (!content.empty())
    {
        auto length = plain_length(content);
        text += content.substr(0, length);
        content.remove_prefix(length);
        if (content.empty())
        {
            break;
        }
        auto const code = static_cast<unsigned char>(content.front());
        length = code == 0 ? 0 : character_length(content);
        if (length == 0)
        {
            text += replacement;
        }
        else if (code < 0x80)
        {
            append_escape(text, code);
        }
        else
        {
            text += content.substr(0, length);
        }
        content.remove_prefix(std::max<std::size_t>(length, 1));
    }
    text += '"';
}

void append_integer(std::string& text, std::int64_t number)
{
    text += std::to_string(number);
}

/// The shortest text that gives the number back, with a point where it would be read as an integer.
void append_double(std::string& text, double number)
{
    if (!std::isfinite(number))
    {
        text += "null";
        return;
    }
    std::array<char, 32> digits{};
    auto const result = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    std::string_view const shortest(digits.data(), static_cast<std::size_t>(result.ptr - digits.data()));
    text += shortest;
    if (shortest.find_first_of(".e") == std::string_view::npos)
    {
        text += ".0";
    }
}

void append_binary(std::string& text, std::string_view bytes)
{
    using boost::archive::iterators::base64_from_binary;
    using boost::archive::iterators::transform_width;
    using Base64 = base64_from_binary<transform_width<char const*, 6, 8>>;
    text += '"';
    text.append(Base64(bytes.data()), Base64(bytes.data() + bytes.size()));
    text.append((3 - bytes.size() % 3) % 3, '=');
    text += '"';
}

void append_time(std::string& text, Value value)
{
    value.convert(ValueType::String);
    append_text(text, value.get_text());
}

void append_scalar(std::string& text, Value const& value)
{
    switch (value.type())
    {
    case ValueType::Bool:
        text += value.get_bool() ? "true" : "false";
        break;
    case ValueType::Int:
    case ValueType::Int64:
        append_integer(text, value.get_int64());
        break;
    case ValueType::Double:
        append_double(text, value.get_double());
        break;
    case ValueType::String:
        append_text(text, value.get_text());
        break;
    case ValueType::Binary:
        append_binary(text, value.get_binary());
        break;
    case ValueType::DateTime:
    case ValueType::TimeSpan:
        append_time(text, value);
        break;
    default:
        text += "null";
        break;
    }
}

// Containers ----------------------------------------------------------------------------------------------------------

/// Writes one value. The containers that are open stand in a list of their own, so that nesting costs no stack.
class Writer
{
public:
    explicit Writer(Layout layout) noexcept : m_indented(layout == Layout::Indented) {}

    std::string write(Value const& root)
    {
        begin(root);
        while (!m_open.empty())
        {
            auto& level = m_open.back();
            if (level.at_end())
            {
                end();
                continue;
            }
            if (m_text.back() != '{' && m_text.back() != '[')
            {
                m_text += ',';
            }
            break_line();
            if (level.map)
            {
                append_text(m_text, level.entry.name());
                m_text += m_indented ? ": " : ":";
            }
            begin(level.take());
        }
        return std::move(m_text);
    }

private:
    /// Writes a value that stands on one line as a whole, and of any other what opens it.
    void begin(Value const& value)
    {
        if (!is_container(value))
        {
            append_scalar(m_text, value);
        }
        else if (value.size() == 0)
        {
            m_text += has_entries(value) ? "{}" : "[]";
        }
        else if (m_indented && fits_line(value))
        {
            append_line(value);
        }
        else
        {
            m_text += has_entries(value) ? '{' : '[';
            m_open.emplace_back(value);
        }
    }

    void end()
    {
        auto const bracket = m_open.back().map ? '}' : ']';
        m_open.pop_back();
        break_line();
        m_text += bracket;
    }

    void break_line()
    {
        if (m_indented)
        {
            m_text += '\n';
            m_text.append(2 * m_open.size(), ' ');
        }
    }

    static bool fits_line(Value const& value)
    {
        constexpr std::size_t most_elements = 8;
        return value.type() == ValueType::Vector && value.size() <= most_elements &&
               std::none_of(value.begin_vector(), value.end_vector(), is_container);
    }

    void append_line(Value const& vector)
    {
        char const* separator = "[";
        for (auto element = vector.begin_vector(); element != vector.end_vector(); ++element)
        {
            m_text += separator;
            append_scalar(m_text, *element);
            separator = ", ";
        }
        m_text += ']';
    }

    bool m_indented;
    std::string m_text;
    std::vector<Level> m_open;
};

} // namespace

std::string write(Value const& value, Layout layout)
{
    return Writer(layout).write(value);
}

// Reading back --------------------------------------------------------------------------------------------------------

namespace
{

/// What is wrong with the value itself; where it is a container, its entries come next.
std::string enter(Value const& value, std::vector<Level>& open)
{
    if (!is_readable(value.get_text()))
    {
        return "a text is not valid UTF-8 or holds U+0000";
    }
    if (is_container(value))
    {
        open.emplace_back(value);
    }
    return open.size() > max_nesting ? "values nest deeper than " + std::to_string(max_nesting) + " levels" : "";
}

} // namespace

std::string shown(Value const& value)
{
    return value.isset() ? write(value) : "-";
}

std::string obstacle(Value const& value)
{
    std::vector<Level> open;
    auto found = enter(value, open);
    while (found.empty() && !open.empty())
    {
        auto& level = open.back();
        if (level.at_end())
        {
            open.pop_back();
        }
        else if (level.map && !is_readable(level.entry.name()))
        {
            found = "a name is not valid UTF-8";
        }
        else
        {
            found = enter(level.take(), open);
        }
    }
    return found;
}

} // namespace Ravik::Json
