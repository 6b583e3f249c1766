#pragma once

#include "Configuration/Library.h"
#include "Configuration/Sqlite.h"
#include "Configuration/store_format.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Ravik
{

/// The rows of the copy of a library, in a table of the store, whose sum it keeps.
class SharedRows
{
public:
    /// `sum` is what the rows come to; it outlives this.
    SharedRows(sqlite3* database, StoreFormat::RowSum& sum);

    /// The row at the path, without its text.
    std::optional<LibraryRow> find(std::string const& path);
    /// The rows below the path, not the row itself, without their texts, by path.
    std::vector<LibraryRow> below(std::string const& path);

    /// Puts the row in the place of the one at its path, or takes that out where it is removed.
    void apply(LibraryRow const& row);
    /// Takes all rows out.
    void clear();

private:
    void remove(std::string_view path, std::int64_t rank);

    sqlite3* m_database;
    StoreFormat::RowSum& m_sum;
    Sqlite::Statement m_find;
    Sqlite::Statement m_below;
    Sqlite::Statement m_change;
    Sqlite::Statement m_remove;
    StoreFormat::RowWriter m_writer;
};

} // namespace Ravik
