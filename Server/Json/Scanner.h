#pragma once

#include <cstddef>
#include <string_view>

namespace Ravik::Json
{

/// Steps over the tokens of a text that is known to be JSON from its begin to where it is scanned. Finds places for
/// messages, so that reading itself need not note any.
class Scanner
{
public:
    explicit Scanner(std::string_view text) noexcept : m_text(text) { skip_blanks(); }

    std::size_t position() const noexcept { return m_position; }
    /// The character at the position, zero at the text's end.
    char peek() const noexcept { return m_position < m_text.size() ? m_text[m_position] : '\0'; }

    /// Each steps over what its name says, which must stand at the position, and over the blanks behind it.
    void skip_punctuation() noexcept;
    void skip_token() noexcept;
    void skip_value() noexcept;
    /// Returns the token, quotes included.
    std::string_view skip_text() noexcept;

private:
    void skip_blanks() noexcept;

    std::string_view m_text;
    std::size_t m_position = 0;
};

} // namespace Ravik::Json
