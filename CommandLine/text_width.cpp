#include "text_width.h"

#include "Json/unicode.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <cwchar>
#include <memory>
#include <type_traits>

namespace Ravik::CommandLine
{

namespace
{

using Json::Character;

/// Takes the first character off the text.
Character next_character(std::string_view& rest)
{
    auto const character = Json::first_character(rest);
    rest.remove_prefix(character.bytes.size());
    return character;
}

struct LocaleDeleter
{
    void operator()(locale_t locale) const { freelocale(locale); }
};

/// The C library knows the width of characters, but only in a UTF-8 locale, whatever the user's own may be.
class Utf8Locale
{
public:
    Utf8Locale()
    {
        static std::unique_ptr<std::remove_pointer_t<locale_t>, LocaleDeleter> const utf8(
            newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr));
        m_before = utf8 ? uselocale(utf8.get()) : nullptr;
    }
    ~Utf8Locale()
    {
        if (m_before != nullptr)
        {
            uselocale(m_before);
        }
    }
    Utf8Locale(Utf8Locale const&) = delete;
    Utf8Locale& operator=(Utf8Locale const&) = delete;

private:
    locale_t m_before;
};

std::size_t character_width(Character const& character)
{
    auto const width = character.valid ? wcwidth(static_cast<wchar_t>(character.code)) : 1;
    return width < 0 ? 1 : static_cast<std::size_t>(width);
}

constexpr std::string_view digits = "0123456789abcdef";

void append_escaped(std::string& result, std::string_view bytes)
{
    for (auto const byte : bytes)
    {
        auto const number = static_cast<unsigned char>(byte);
        result += "\\x";
        result += digits[number >> 4U];
        result += digits[number & 15U];
    }
}

void append_json_escape(std::string& result, char32_t code)
{
    constexpr char32_t first_supplementary = 0x10000;
    if (code >= first_supplementary)
    {
        append_json_escape(result, 0xD800 + ((code - first_supplementary) >> 10U));
        append_json_escape(result, 0xDC00 + ((code - first_supplementary) & 0x3FFU));
        return;
    }
    result += "\\u";
    for (auto const shift : {12U, 8U, 4U, 0U})
    {
        result += digits[(code >> shift) & 15U];
    }
}

/// What becomes of the line ends of a text.
enum class LineEnds
{
    escaped,
    kept,
};

std::string escaped(std::string_view text, LineEnds line_ends)
{
    std::string result;
    result.reserve(text.size());
    while (!text.empty())
    {
        auto const character = next_character(text);
        if (character.code == '\n' && line_ends == LineEnds::kept)
        {
            result += '\n';
        }
        else if (!character.valid || Json::is_hidden(character.code))
        {
            append_escaped(result, character.bytes);
        }
        else
        {
            result += character.bytes;
        }
    }
    return result;
}

} // namespace

std::size_t display_width(std::string_view text)
{
    Utf8Locale const locale;
    std::size_t width = 0;
    while (!text.empty())
    {
        width += character_width(next_character(text));
    }
    return width;
}

std::string printable(std::string_view text)
{
    return escaped(text, LineEnds::escaped);
}

std::string printable_lines(std::string_view text)
{
    return escaped(text, LineEnds::kept);
}

std::string printable_json(std::string_view json)
{
    std::string result;
    result.reserve(json.size());
    while (!json.empty())
    {
        auto const character = next_character(json);
        if (character.valid && character.code != '\n' && Json::is_hidden(character.code))
        {
            append_json_escape(result, character.code);
        }
        else
        {
            result += character.bytes;
        }
    }
    return result;
}

std::string shortened(std::string const& text, std::size_t width)
{
    if (display_width(text) <= width)
    {
        return text;
    }
    Utf8Locale const locale;
    std::string_view rest = text;
    std::size_t used = 0;
    std::size_t kept = 0;
    while (!rest.empty())
    {
        auto const character = next_character(rest);
        used += character_width(character);
        if (used >= width)
        {
            break;
        }
        kept += character.bytes.size();
    }
    return text.substr(0, kept) + "…";
}

} // namespace Ravik::CommandLine
