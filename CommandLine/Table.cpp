#include "Table.h"

#include "text_width.h"

#include <algorithm>

namespace Ravik::CommandLine
{

namespace
{

constexpr std::size_t gap = 2;

std::vector<Cell> line_of(std::vector<Cell> const& row, std::vector<std::size_t> const& widths)
{
    std::vector<Cell> line;
    std::size_t owed = 0;
    for (std::size_t column = 0; column < row.size(); ++column)
    {
        auto const& text = row[column].text;
        // Blanks are paid when something follows, so that no line ends in them.
        if (!text.empty())
        {
            line.push_back({std::string(owed, ' ')});
            line.push_back(row[column]);
            owed = 0;
        }
        owed += widths[column] + gap - display_width(text);
    }
    return line;
}

} // namespace

Table::Table(std::vector<std::string> const& headings)
{
    auto& row = m_rows.emplace_back();
    for (auto const& heading : headings)
    {
        row.push_back({heading, Colour::bold});
    }
}

void Table::add(std::vector<Cell> row)
{
    row.resize(m_rows.front().size());
    for (auto& cell : row)
    {
        cell.text = printable(cell.text);
    }
    m_rows.push_back(std::move(row));
}

void Table::print(Output& output) const
{
    if (m_rows.size() == 1 || output.form() == OutputForm::json)
    {
        return;
    }
    std::vector<std::size_t> widths(m_rows.front().size());
    for (auto const& row : m_rows)
    {
        for (std::size_t column = 0; column < row.size(); ++column)
        {
            widths[column] = std::max(widths[column], display_width(row[column].text));
        }
    }
    for (auto const& row : m_rows)
    {
        output.print(line_of(row, widths));
    }
}

} // namespace Ravik::CommandLine
