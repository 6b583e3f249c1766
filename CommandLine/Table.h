#pragma once

#include "Output.h"

#include <string>
#include <vector>

namespace Ravik::CommandLine
{

/// Rows under headings, aligned by what a terminal shows of them.
class Table
{
public:
    explicit Table(std::vector<std::string> const& headings);

    /// Adds a row with a cell for each heading.
    void add(std::vector<Cell> row);
    /// Prints headings and rows; a table without rows prints nothing.
    void print(Output& output) const;

private:
    std::vector<std::vector<Cell>> m_rows;
};

} // namespace Ravik::CommandLine
