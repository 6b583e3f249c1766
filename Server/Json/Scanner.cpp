#include "Json/Scanner.h"

#include <algorithm>

namespace Ravik::Json
{

namespace
{

constexpr std::string_view blanks = " \t\r\n";

} // namespace

void Scanner::skip_punctuation() noexcept
{
    ++m_position;
    skip_blanks();
}

void Scanner::skip_value() noexcept
{
    std::size_t depth = 0;
    do
    {
        auto const character = peek();
        if (character == '{' || character == '[')
        {
            ++depth;
        }
        else if (character == '}' || character == ']')
        {
            --depth;
        }
        skip_token();
    } while (depth > 0 && m_position < m_text.size());
}

std::string_view Scanner::skip_text() noexcept
{
    auto const begin = m_position;
    auto end = begin + 1;
    while (end < m_text.size() && m_text[end] != '"')
    {
        std::size_t const step = m_text[end] == '\\' ? 2 : 1;
        end += step;
    }
    m_position = std::min(end + 1, m_text.size());
    auto const token = m_text.substr(begin, m_position - begin);
    skip_blanks();
    return token;
}

void Scanner::skip_blanks() noexcept
{
    m_position = std::min(m_text.find_first_not_of(blanks, m_position), m_text.size());
}

void Scanner::skip_token() noexcept
{
    constexpr std::string_view punctuation = "{}[],:";
    if (peek() == '"')
    {
        skip_text();
    }
    else if (punctuation.find(peek()) != std::string_view::npos)
    {
        skip_punctuation();
    }
    else
    {
        // A number, true, false or null ends at the next punctuation or blank.
        m_position = std::min(m_text.find_first_of("{}[],: \t\r\n", m_position), m_text.size());
        skip_blanks();
    }
}

} // namespace Ravik::Json
