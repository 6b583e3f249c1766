#include "Json/QuickReader.h"

#include "Json/Json.h"
#include "Json/exact_reading.h"
#include "Json/quick_number.h"
#include "Json/unicode.h"

#include "RavikSrvExt/MapBuilder.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>

namespace Ravik::Json
{

using RavikSrv::MapBuilder;
using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

/// Whether a byte of a text needs a closer look: a quote, a backslash, a control character, or a part of a character
/// beyond ASCII.
bool is_special(char byte) noexcept
{
    auto const code = static_cast<unsigned char>(byte);
    return code < 0x20 || code >= 0x80 || byte == '"' || byte == '\\';
}

/// The first special byte from `at` on, or `end`.
char const* find_special(char const* at, char const* end) noexcept
{
    constexpr std::uint64_t ones = 0x0101010101010101U;
    constexpr std::uint64_t highs = ones * 0x80;
    std::uint64_t bytes = 0;
    for (; end - at >= static_cast<std::ptrdiff_t>(sizeof bytes); at += sizeof bytes)
    {
        std::memcpy(&bytes, at, sizeof bytes);
        // A byte from which more is taken than it has borrows, which shows in its highest bit, as does a byte beyond
        // ASCII. What it borrows may mark the byte above, too, but where none is special none is marked.
        auto const quotes = (bytes ^ ones * '"') - ones;
        auto const backslashes = (bytes ^ ones * '\\') - ones;
        auto const controls = bytes - ones * 0x20;
        if (((quotes | backslashes | controls | bytes) & highs) != 0)
        {
            break;
        }
    }
    return std::find_if(at, end, is_special);
}

/// Whether `size` bytes are the same, which are as many as a `Word` has or more: word by word, the last of which may
/// overlap the one before.
template <typename Word> bool are_same(char const* left, char const* right, std::size_t size) noexcept
{
    auto const is_same_word = [&](std::size_t offset)
    {
        Word left_word = 0;
        Word right_word = 0;
        std::memcpy(&left_word, left + offset, sizeof(Word));
        std::memcpy(&right_word, right + offset, sizeof(Word));
        return left_word == right_word;
    };
    auto const last = size - sizeof(Word);
    for (std::size_t offset = 0; offset < last; offset += sizeof(Word))
    {
        if (!is_same_word(offset))
        {
            return false;
        }
    }
    return is_same_word(last);
}

/// Whether the text starts with a name as it stands in a text, without a call. The empty name, alone too short for a
/// word, is never found.
bool starts_with(std::string_view text, std::string_view token) noexcept
{
    using Short = std::uint32_t;
    using Long = std::uint64_t;
    if (text.size() < token.size() || token.size() < sizeof(Short))
    {
        return false;
    }
    return token.size() < sizeof(Long) ? are_same<Short>(text.data(), token.data(), token.size())
                                       : are_same<Long>(text.data(), token.data(), token.size());
}

} // namespace

std::optional<Value> QuickReader::read(std::string_view text)
{
    if (m_shapes.is_full())
    {
        m_root = {};
        m_shapes.clear();
    }
    m_at = text.data();
    m_end = m_at + text.size();
    m_depth = 0;
    m_names.clear();
    m_decoded.clear();
    Values values;
    if (!read_value(m_root, values))
    {
        return std::nullopt;
    }
    skip_blanks();
    return m_at == m_end ? std::optional(std::move(values.front())) : std::nullopt;
}

bool QuickReader::read_value(Place& place, Values& to)
{
    switch (peek())
    {
    case '{':
        return read_object(place, to);
    case '[':
        return read_array(place, to);
    case '"':
        return read_text(place, to);
    case 't':
        return read_word("true", Value(true), to);
    case 'f':
        return read_word("false", Value(false), to);
    case 'n':
        return read_word("null", Value(), to);
    case ' ':
    case '\n':
    case '\r':
    case '\t':
        skip_blanks();
        return read_value(place, to);
    default:
        return read_number(to);
    }
}

void QuickReader::skip_blanks() noexcept
{
    while (m_at != m_end && (*m_at == ' ' || *m_at == '\n' || *m_at == '\r' || *m_at == '\t'))
    {
        ++m_at;
    }
}

/// Steps behind the character where that is what comes next but for blanks.
bool QuickReader::take(char punctuation) noexcept
{
    if (peek() != punctuation)
    {
        skip_blanks();
    }
    auto const is_there = m_at != m_end && *m_at == punctuation;
    m_at += is_there ? 1 : 0;
    return is_there;
}

// Scalars -------------------------------------------------------------------------------------------------------------

bool QuickReader::read_word(std::string_view word, Value const& value, Values& to)
{
    if (!rest().starts_with(word))
    {
        return false;
    }
    m_at += word.size();
    to.push_back(value);
    return true;
}

bool QuickReader::read_number(Values& to)
{
    auto const* const end = QuickNumber::read(m_at, m_end, to);
    if (end == nullptr)
    {
        return read_odd_token(m_at, QuickNumber::end_of(m_at, m_end), to);
    }
    m_at = end;
    return true;
}

/// Reads what is rare as a text of its own.
bool QuickReader::read_odd_token(char const* begin, char const* end, Values& to)
{
    try
    {
        to.push_back(read_exactly({begin, static_cast<std::size_t>(end - begin)}));
    }
    catch (ParseError const&)
    {
        return false;
    }
    m_at = end;
    return true;
}

/// A text or name between its quotes.
struct QuickReader::Token
{
    std::string_view content;
    bool has_escapes = false;
};

/// Scans a text behind its opening quote.
bool QuickReader::scan_text(Token& token)
{
    auto const* const begin = m_at;
    auto is_ascii = true;
    for (auto const* at = find_special(begin, m_end); at != m_end; at = find_special(at, m_end))
    {
        if (*at == '"')
        {
            token.content = {begin, static_cast<std::size_t>(at - begin)};
            m_at = at + 1;
            return is_ascii || token.has_escapes || is_utf8(token.content);
        }
        auto const is_escape = *at == '\\';
        if (is_escape ? m_end - at < 2 : static_cast<unsigned char>(*at) < 0x20)
        {
            return false;
        }
        at += is_escape ? 2 : 1;
        token.has_escapes = token.has_escapes || is_escape;
        is_ascii = is_ascii && is_escape;
    }
    return false;
}

bool QuickReader::read_text(Place& place, Values& to)
{
    auto const* const begin = m_at++;
    Token token;
    if (!scan_text(token))
    {
        return false;
    }
    if (token.has_escapes)
    {
        return read_odd_token(begin, m_at, to);
    }
    // What stands at one place is often the same text again, such as a type's name, and then shared.
    if (!place.text.isset() || place.text.get_text() != token.content)
    {
        place.text = Value(token.content);
    }
    to.push_back(place.text);
    return true;
}

// Arrays and objects --------------------------------------------------------------------------------------------------

bool QuickReader::read_array(Place& place, Values& to)
{
    ++m_at;
    if (++m_depth > max_nesting)
    {
        return false;
    }
    if (place.element == nullptr)
    {
        place.element = std::make_unique<Place>();
    }
    Values elements;
    for (auto is_complete = take(']'); !is_complete; is_complete = take(']'))
    {
        if ((!elements.empty() && !take(',')) || !read_value(*place.element, elements))
        {
            return false;
        }
    }
    --m_depth;
    auto& vector = to.emplace_back(ValueType::Vector);
    if (!elements.empty())
    {
        vector.reserve(elements.size());
    }
    for (auto const& element : elements)
    {
        vector << element;
    }
    return true;
}

bool QuickReader::read_object(Place& place, Values& to)
{
    ++m_at;
    if (++m_depth > max_nesting)
    {
        return false;
    }
    auto* const expected = place.shape;
    auto const first_name = m_names.size();
    Values values;
    if (expected != nullptr)
    {
        if (!follow(*expected, values))
        {
            return false;
        }
        if (values.size() == expected->entries.size() && peek() == '}')
        {
            ++m_at;
            --m_depth;
            to.push_back(MapBuilder::resembling(expected->map, std::move(values)));
            return true;
        }
        auto entry = std::as_const(expected->map).begin();
        for (std::size_t count = 0; count < values.size(); ++count, ++entry)
        {
            m_names.emplace_back(entry.key()->name());
        }
    }
    return read_entries(values) && make_map(place, first_name, values, to);
}

/// Reads entries as long as their names are those of the shape. False where a value is not right.
bool QuickReader::follow(Shape& shape, Values& values)
{
    auto const* token = shape.tokens.data();
    for (auto& entry : shape.entries)
    {
        if (!starts_with(rest(), {token, entry.token_size}))
        {
            return true;
        }
        if (values.empty())
        {
            values.reserve(shape.entries.size());
        }
        m_at += entry.token_size;
        token += entry.token_size;
        if (!read_value(entry.place, values))
        {
            return false;
        }
    }
    return true;
}

/// Reads all further entries of an object and its end.
bool QuickReader::read_entries(Values& values)
{
    while (!take('}'))
    {
        Place unknown;
        if ((!values.empty() && !take(',')) || !take('"') || !read_name() || !take(':') || !read_value(unknown, values))
        {
            return false;
        }
    }
    --m_depth;
    return true;
}

/// Reads a name behind its opening quote.
bool QuickReader::read_name()
{
    auto const* const begin = m_at - 1;
    Token token;
    if (!scan_text(token))
    {
        return false;
    }
    if (token.has_escapes)
    {
        Values decoded;
        if (!read_odd_token(begin, m_at, decoded))
        {
            return false;
        }
        token.content = m_decoded.emplace_back(decoded.front().get_text());
    }
    m_names.push_back(token.content);
    return true;
}

/// Keeps the first names alone, and no more room than usual maps need.
void QuickReader::forget_names(std::size_t count)
{
    constexpr std::size_t usual = 65536;
    m_names.resize(count);
    if (m_names.capacity() > usual && count < usual)
    {
        m_names.shrink_to_fit();
    }
}

/// Makes a map of the values and the last names; false where a name stands twice.
bool QuickReader::make_map(Place& place, std::size_t first_name, Values& values, Values& to)
{
    if (values.empty())
    {
        to.emplace_back(ValueType::Map);
        return true;
    }
    auto const hash = Shapes::hash(m_names, first_name);
    place.shape = m_shapes.find(hash, m_names, first_name);
    if (place.shape != nullptr)
    {
        to.push_back(MapBuilder::resembling(place.shape->map, std::move(values)));
    }
    else
    {
        MapBuilder map;
        for (std::size_t index = 0; index < values.size(); ++index)
        {
            if (!map.insert(m_names[first_name + index], std::move(values[index])))
            {
                return false;
            }
        }
        // A large map takes up its memory twice while it comes to its size.
        Values().swap(values);
        forget_names(first_name);
        place.shape = m_shapes.add(hash, to.emplace_back(map.finish()));
    }
    forget_names(first_name);
    return true;
}

} // namespace Ravik::Json
