#include "Schema/Pattern.h"

#include "Schema/messages.h"

#include <re2/re2.h>

#include <array>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <optional>

namespace Ravik::Schema
{

using RavikSrv::ErrorValue;

namespace
{

// What \s and \S stand for inside brackets, and the line ends that the point does not match; RE2 knows ASCII's only.
constexpr std::string_view blanks =
    R"(\t-\r \x{a0}\x{1680}\x{2000}-\x{200a}\x{2028}\x{2029}\x{202f}\x{205f}\x{3000}\x{feff})";
constexpr std::string_view no_blanks =
    R"(\x{0}-\x{8}\x{e}-\x{1f}!-\x{9f}\x{a1}-\x{167f}\x{1681}-\x{1fff}\x{200b}-\x{2027}\x{202a}-\x{202e})"
    R"(\x{2030}-\x{205e}\x{2060}-\x{2fff}\x{3001}-\x{fefe}\x{ff00}-\x{10ffff})";
constexpr std::string_view point = R"([^\n\r\x{2028}\x{2029}])";
constexpr std::string_view anything = R"([\x{0}-\x{10ffff}])";
constexpr std::string_view nothing = R"([^\x{0}-\x{10ffff}])";

bool is_letter(char byte)
{
    return std::isalpha(static_cast<unsigned char>(byte)) != 0;
}

bool is_digit(char byte)
{
    return byte >= '0' && byte <= '9';
}

std::string code_point(std::uint32_t code)
{
    std::array<char, 8> digits{};
    auto const [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), code, 16);
    return std::string("\\x{").append(digits.data(), end).append("}");
}

/// Rewrites an expression of ECMA 262 as one of RE2 that means the same. What RE2 refuses anyway is left to it.
class Translation
{
public:
    explicit Translation(std::string_view expression) : m_rest(expression) {}

    std::string run()
    {
        while (!m_rest.empty())
        {
            if (m_rest.front() == '\\')
            {
                m_rest.remove_prefix(1);
                translate_escape();
            }
            else if (m_inside_brackets)
            {
                translate_inside_brackets();
            }
            else
            {
                translate_outside_brackets();
            }
        }
        return std::move(m_result);
    }

private:
    char take()
    {
        auto const byte = m_rest.front();
        m_rest.remove_prefix(1);
        return byte;
    }

    bool skip(std::string_view text)
    {
        auto const found = m_rest.substr(0, text.size()) == text;
        m_rest.remove_prefix(found ? text.size() : 0);
        return found;
    }

    void translate_inside_brackets()
    {
        auto const byte = take();
        m_inside_brackets = byte != ']';
        m_result += byte == '[' ? "\\[" : std::string(1, byte);
    }

    void translate_outside_brackets()
    {
        if (skip("[^]"))
        {
            m_result += anything;
        }
        else if (skip("[]"))
        {
            m_result += nothing;
        }
        else if (skip("."))
        {
            m_result += point;
        }
        else if (m_rest.starts_with("(?<") && !m_rest.starts_with("(?<=") && !m_rest.starts_with("(?<!"))
        {
            m_rest.remove_prefix(3);
            m_result += "(?P<";
        }
        else
        {
            auto const byte = take();
            m_inside_brackets = byte == '[';
            m_result += byte;
            m_result += m_inside_brackets && skip("^") ? "^" : "";
        }
    }

    void translate_escape()
    {
        if (m_rest.empty())
        {
            throw SchemaFailure(ErrorValue::SCHEMA, "a backslash stands at its end");
        }
        auto const byte = take();
        if (!is_letter(byte) && !is_digit(byte))
        {
            // RE2 takes every escaped sign of ASCII, but no escaped character beyond.
            m_result += static_cast<unsigned char>(byte) < 0x80U ? "\\" : "";
            m_result += byte;
        }
        else if (byte == 's' || byte == 'S')
        {
            auto const set = std::string(byte == 's' ? blanks : no_blanks);
            m_result += m_inside_brackets ? set : std::string("[").append(set).append("]");
        }
        else if (byte == 'b' && m_inside_brackets)
        {
            m_result += code_point('\b');
        }
        else if (std::string_view("dDwWbBfnrtv").find(byte) != std::string_view::npos ||
                 ((byte == 'p' || byte == 'P') && m_rest.starts_with('{')))
        {
            m_result += {'\\', byte};
        }
        else
        {
            m_result += code_point(escaped_code(byte));
        }
    }

    /// The character that an escape beginning with `byte` tells by number.
    std::uint32_t escaped_code(char byte)
    {
        if (byte == '0' && (m_rest.empty() || !is_digit(m_rest.front())))
        {
            return 0;
        }
        if (byte == 'c' && !m_rest.empty() && is_letter(m_rest.front()))
        {
            return static_cast<unsigned char>(take()) % 32U;
        }
        auto code = byte == 'x' ? take_hexadecimal(2) : byte == 'u' ? take_unicode() : std::nullopt;
        if (!code)
        {
            throw SchemaFailure(ErrorValue::SCHEMA, is_digit(byte) || byte == 'k'
                                                        ? std::string("references back to a group are not supported")
                                                        : std::string{'\\', byte} + " is no known escape");
        }
        return *code;
    }

    std::optional<std::uint32_t> take_unicode()
    {
        if (skip("{"))
        {
            auto const code = take_hexadecimal(m_rest.find('}'));
            return code && skip("}") ? code : std::nullopt;
        }
        auto const first = take_hexadecimal(4);
        if (!first || *first < 0xD800U || *first > 0xDFFFU)
        {
            return first;
        }
        auto const second = *first < 0xDC00U && skip("\\u") ? take_hexadecimal(4) : std::nullopt;
        return second && *second >= 0xDC00U && *second <= 0xDFFFU
                   ? std::optional(0x10000U + ((*first - 0xD800U) << 10U) + (*second - 0xDC00U))
                   : std::nullopt;
    }

    std::optional<std::uint32_t> take_hexadecimal(std::size_t count)
    {
        std::uint32_t code = 0;
        auto const digits = m_rest.substr(0, count);
        auto const [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), code, 16);
        if (count > m_rest.size() || error != std::errc() || end != digits.data() + count || code > 0x10FFFFU)
        {
            return std::nullopt;
        }
        m_rest.remove_prefix(count);
        return code;
    }

    std::string_view m_rest;
    std::string m_result;
    bool m_inside_brackets = false;
};

} // namespace

Pattern::Pattern(std::string_view expression, WorkBudget& budget) : m_expression(expression)
{
    budget.spend(expression.size());
    re2::RE2::Options options;
    options.set_log_errors(false);
    m_compiled = std::make_shared<re2::RE2 const>(Translation(expression).run(), options);
    if (!m_compiled->ok())
    {
        throw SchemaFailure(ErrorValue::SCHEMA, shortened(m_compiled->error(), 200));
    }
    m_size = static_cast<std::size_t>(m_compiled->ProgramSize());
    budget.spend(m_size * 8);
}

bool Pattern::matches(std::string_view text, WorkBudget& budget) const
{
    // The worst case of a match that is linear in the text is linear in the expression as well.
    budget.spend(1 + text.size() / 32 * (1 + m_size / 8) + m_size / 32);
    return re2::RE2::PartialMatch(re2::StringPiece(text.data(), text.size()), *m_compiled);
}

} // namespace Ravik::Schema
