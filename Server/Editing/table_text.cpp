#include "Editing/table_text.h"

namespace Ravik::TableText
{

namespace
{

/// What stands between the names of the first row; a comma where there is but one name.
char separator_of(std::string_view text) noexcept
{
    auto quoted = false;
    for (auto const character : text)
    {
        quoted = quoted != (character == '"');
        if (!quoted && (character == ',' || character == ';'))
        {
            return character;
        }
        if (!quoted && (character == '\n' || character == '\r'))
        {
            break;
        }
    }
    return ',';
}

} // namespace

// Reading -------------------------------------------------------------------------------------------------------------

Reader::Reader(std::string_view text) : m_text(text), m_separator(separator_of(text))
{
}

std::optional<Cell> Reader::next()
{
    if (m_position == m_text.size() && !m_behind_separator)
    {
        return std::nullopt;
    }
    Cell cell;
    cell.offset = m_position;
    auto const is_quoted = m_position < m_text.size() && m_text[m_position] == '"';
    cell.text = is_quoted ? quoted() : plain();
    cell.ends_row = end_cell();
    return cell;
}

std::string_view Reader::plain()
{
    auto const start = m_position;
    for (; m_position < m_text.size(); ++m_position)
    {
        auto const character = m_text[m_position];
        if (character == m_separator || character == '\n' || character == '\r')
        {
            break;
        }
        if (character == '"')
        {
            throw SyntaxError(m_position, "a double quote stands inside a cell that does not begin with one; the whole "
                                          "cell goes in double quotes, and one in it is written twice");
        }
    }
    return m_text.substr(start, m_position - start);
}

std::string_view Reader::quoted()
{
    auto const opening = m_position++;
    auto start = m_position;
    m_unquoted.clear();
    for (;;)
    {
        auto const quote = m_text.find('"', m_position);
        if (quote == std::string_view::npos)
        {
            throw SyntaxError(opening, "the double quote that begins this cell is never closed");
        }
        m_position = quote + 1;
        if (m_position == m_text.size() || m_text[m_position] != '"')
        {
            auto const last = m_text.substr(start, quote - start);
            return m_unquoted.empty() ? last : std::string_view(m_unquoted.append(last));
        }
        // Two quotes stand for one.
        m_unquoted.append(m_text.substr(start, m_position - start));
        start = ++m_position;
    }
}

/// Steps over what ends the cell; returns whether that is the end of a row.
bool Reader::end_cell()
{
    m_behind_separator = false;
    if (m_position == m_text.size())
    {
        return true;
    }
    if (m_text[m_position] == m_separator)
    {
        ++m_position;
        m_behind_separator = true;
        return false;
    }
    auto const is_pair = m_text.substr(m_position).starts_with(row_end);
    if (!is_pair && m_text[m_position] == '\r')
    {
        throw SyntaxError(m_position, "a carriage return stands alone; a line ends with a line feed");
    }
    if (!is_pair && m_text[m_position] != '\n')
    {
        throw SyntaxError(m_position, "text stands behind the double quote that closes this cell; a double quote in a "
                                      "cell is written twice");
    }
    m_position += is_pair ? 2 : 1;
    return true;
}

std::string_view without_mark(std::string_view text) noexcept
{
    return text.starts_with(byte_order_mark) ? text.substr(byte_order_mark.size()) : text;
}

// Writing -------------------------------------------------------------------------------------------------------------

void append_cell(std::string& table, std::string_view cell)
{
    auto const has_blank_ends = !cell.empty() && (cell.front() == ' ' || cell.back() == ' ');
    if (!has_blank_ends && cell.find_first_of("\",;\t\r\n") == std::string_view::npos)
    {
        table.append(cell);
        return;
    }
    table += '"';
    for (auto const character : cell)
    {
        table.append(character == '"' ? 2 : 1, character);
    }
    table += '"';
}

} // namespace Ravik::TableText
