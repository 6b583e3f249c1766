#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

/// Tables as text by RFC 4180: cells between separators, rows between line ends, and in double quotes what holds one of
/// these. The separator may be a semicolon, as spreadsheets write it where the comma stands in numbers.
namespace Ravik::TableText
{

/// How a table is written.
struct Form
{
    char separator = ',';
    /// Whether a byte order mark leads, without which some spreadsheets do not take a text for UTF-8.
    bool byte_order_mark = false;
};

/// A text that is no table. `offset()` is the byte at fault.
class SyntaxError : public std::runtime_error
{
public:
    SyntaxError(std::size_t offset, std::string const& message) : std::runtime_error(message), m_offset(offset) {}

    std::size_t offset() const noexcept { return m_offset; }

private:
    std::size_t m_offset;
};

struct Cell
{
    /// Without the quotes; valid until the next cell is read.
    std::string_view text;
    /// Where it begins.
    std::size_t offset = 0;
    bool ends_row = false;
};

/// Takes a table apart, cell by cell and without copying what needs none. The text must outlive the reader.
class Reader
{
public:
    /// The text is without a byte order mark; its first row tells the separator.
    explicit Reader(std::string_view text);

    /// The next cell, none behind the last one. A line without anything is a row of one empty cell. Throws
    /// `SyntaxError`.
    std::optional<Cell> next();

private:
    std::string_view plain();
    std::string_view quoted();
    bool end_cell();

    std::string_view m_text;
    char m_separator;
    std::size_t m_position = 0;
    bool m_behind_separator = false;
    /// A cell with quotes in it, as it reads.
    std::string m_unquoted;
};

/// The text without a byte order mark.
std::string_view without_mark(std::string_view text) noexcept;

/// Appends a cell's text to that of a table, in quotes where it needs them.
void append_cell(std::string& table, std::string_view cell);

/// What ends a row.
inline constexpr std::string_view row_end = "\r\n";
inline constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

} // namespace Ravik::TableText
