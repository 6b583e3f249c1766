#include "Configuration/SharedRows.h"

#include "Configuration/configuration_keys.h"

#include <bit>

namespace Ravik
{

namespace
{

/// The row that a statement with the columns rank, checksum and path has stepped to.
LibraryRow named_row(Sqlite::Statement const& select)
{
    return {.path = std::string(select.text(2)),
            .rank = select.integer(0),
            .checksum = std::bit_cast<std::uint64_t>(select.integer(1))};
}

} // namespace

SharedRows::SharedRows(sqlite3* database, StoreFormat::RowSum& sum)
    : m_database(database), m_sum(sum),
      m_find(database, "SELECT rank, checksum, path FROM shared_entry WHERE path = ?1"),
      // Paths below P stand between P:: and P:; in the order of their bytes, since ; follows :
      m_below(database, "SELECT rank, checksum, path FROM shared_entry WHERE path > ?1 || '::' AND path < ?1 || ':;' "
                        "ORDER BY path"),
      m_change(database, "UPDATE shared_entry SET value = ?2, checksum = ?3 WHERE rank = ?1"),
      m_remove(database, "DELETE FROM shared_entry WHERE path = ?1 OR rank = ?2 RETURNING checksum"),
      m_writer(database, StoreFormat::Table::shared)
{
}

std::optional<LibraryRow> SharedRows::find(std::string const& path)
{
    m_find.bind(1, std::string_view(path));
    if (!m_find.step())
    {
        return std::nullopt;
    }
    auto row = named_row(m_find);
    m_find.run();
    return row;
}

std::vector<LibraryRow> SharedRows::below(std::string const& path)
{
    std::vector<LibraryRow> rows;
    m_below.bind(1, std::string_view(path));
    while (m_below.step())
    {
        rows.push_back(named_row(m_below));
    }
    return rows;
}

void SharedRows::apply(LibraryRow const& row)
{
    StoreFormat::Row written{.rank = row.rank, .domain = recipe_domain, .path = row.path, .text = std::nullopt};
    if (row.text)
    {
        written.text = *row.text;
    }
    auto const before = find(row.path);
    if (row.is_removed)
    {
        before ? remove(row.path, before->rank) : void();
    }
    else if (before && before->rank == row.rank)
    {
        auto const after = StoreFormat::checksum(written);
        m_change.bind(1, row.rank).bind(2, written.text).bind(3, std::bit_cast<std::int64_t>(after)).run();
        m_sum.remove(before->checksum);
        m_sum.add(after);
    }
    else
    {
        remove(row.path, row.rank);
        m_sum.add(m_writer.insert(written));
    }
}

/// Whatever stands at the path or at the rank, which the library gives once: then the copy was wrong, and its sum
/// tells.
void SharedRows::remove(std::string_view path, std::int64_t rank)
{
    m_remove.bind(1, path).bind(2, rank);
    while (m_remove.step())
    {
        m_sum.remove(std::bit_cast<std::uint64_t>(m_remove.integer(0)));
    }
}

void SharedRows::clear()
{
    Sqlite::execute(m_database, "DELETE FROM shared_entry");
    m_sum = {};
}

} // namespace Ravik
