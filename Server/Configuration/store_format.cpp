#include "Configuration/store_format.h"

#include <algorithm>
#include <array>
#include <bit>
#include <map>
#include <random>
#include <span>
#include <string>
#include <xxhash.h>

namespace Ravik::StoreFormat
{

namespace
{

/// The statements that make the tables, word for word as SQLite keeps them; by the names of what they make.
using Definitions = std::map<std::string, std::string, std::less<>>;

Definitions const& definitions(std::int64_t version)
{
    static std::string const index = "CREATE UNIQUE INDEX entry_path ON entry(domain, path)";
    static Definitions const first{{"entry", "CREATE TABLE entry(rank INTEGER PRIMARY KEY, domain TEXT NOT NULL, path "
                                             "TEXT NOT NULL, value TEXT)"},
                                   {"entry_path", index}};
    static Definitions const second{
        {"entry", "CREATE TABLE entry(rank INTEGER PRIMARY KEY, domain TEXT NOT NULL, path TEXT NOT NULL, checksum "
                  "INTEGER NOT NULL, value TEXT)"},
        {"entry_path", index},
        {"entry_sum", "CREATE TABLE entry_sum(number INTEGER PRIMARY KEY, entries INTEGER NOT NULL, total INTEGER NOT "
                      "NULL, stamp INTEGER NOT NULL, base INTEGER NOT NULL, checksum INTEGER NOT NULL)"}};
    return version == without_checksums ? first : second;
}

std::uint64_t hash(std::string_view text, std::uint64_t seed)
{
    return XXH3_64bits_withSeed(text.data(), text.size(), seed);
}

std::uint64_t checksum(Sum const& sum)
{
    std::array const numbers{sum.rows, sum.total, sum.stamp, sum.base};
    std::uint64_t result = 0;
    for (auto const number : numbers)
    {
        std::array<char, sizeof number> bytes{};
        for (std::size_t index = 0; index < bytes.size(); ++index)
        {
            bytes.at(index) = static_cast<char>(number >> (8U * index));
        }
        result = hash({bytes.data(), bytes.size()}, result);
    }
    return result;
}

std::int64_t stored(std::uint64_t number)
{
    return std::bit_cast<std::int64_t>(number);
}

std::uint64_t number_of(std::int64_t stored)
{
    return std::bit_cast<std::uint64_t>(stored);
}

} // namespace

std::uint64_t name_checksum(Row const& row)
{
    // Each field is hashed by itself with what came before as its seed, so that none can borrow from its neighbour.
    return hash(row.path, hash(row.domain, number_of(row.rank)));
}

std::uint64_t checksum(Row const& row)
{
    auto const named = name_checksum(row);
    return row.text ? hash(*row.text, named) : ~named;
}

std::uint64_t random_stamp()
{
    thread_local std::random_device device;
    return std::uniform_int_distribution<std::uint64_t>()(device);
}

void make_tables(sqlite3* database)
{
    Sqlite::execute(database, "PRAGMA application_id=" + std::to_string(application_id) +
                                  ";PRAGMA user_version=" + std::to_string(newest));
    for (auto const& [name, sql] : definitions(newest))
    {
        Sqlite::execute(database, sql);
    }
}

bool has_own_tables(sqlite3* database, std::int64_t version)
{
    Definitions found;
    Sqlite::Statement select(database, "SELECT name, sql FROM sqlite_schema");
    while (select.step())
    {
        found.emplace(select.text(0), select.text(1));
    }
    return found == definitions(version);
}

std::optional<Sum> read_sum(sqlite3* database)
{
    Sqlite::Statement select(database, "SELECT entries, total, stamp, base, checksum, number FROM entry_sum");
    if (!select.step())
    {
        return std::nullopt;
    }
    for (int column = 0; column < 6; ++column)
    {
        if (select.type(column) != SQLITE_INTEGER)
        {
            return std::nullopt;
        }
    }
    Sum const sum{.rows = number_of(select.integer(0)),
                  .total = number_of(select.integer(1)),
                  .stamp = number_of(select.integer(2)),
                  .base = number_of(select.integer(3))};
    auto const whole = number_of(select.integer(4)) == checksum(sum) && select.integer(5) == 1 && !select.step();
    return whole ? std::optional(sum) : std::nullopt;
}

void write_sum(sqlite3* database, Sum const& sum)
{
    Sqlite::Statement(database, "REPLACE INTO entry_sum VALUES(1, ?1, ?2, ?3, ?4, ?5)")
        .bind(1, stored(sum.rows))
        .bind(2, stored(sum.total))
        .bind(3, stored(sum.stamp))
        .bind(4, stored(sum.base))
        .bind(5, stored(checksum(sum)))
        .run();
}

// Rows ----------------------------------------------------------------------------------------------------------------

RowReader::RowReader(sqlite3* database, std::int64_t version, Order order)
    : RowReader(database, version, order == Order::ascending ? "ORDER BY rank" : "ORDER BY rank DESC")
{
}

RowReader::RowReader(sqlite3* database, std::int64_t version, std::int64_t rank)
    : RowReader(database, version, "WHERE rank = " + std::to_string(rank))
{
}

RowReader::RowReader(sqlite3* database, std::int64_t version, std::string const& which)
    : m_version(version),
      m_select(database, (version == without_checksums ? "SELECT rank, domain, path, value FROM entry "
                                                       : "SELECT rank, domain, path, value, checksum FROM entry ") +
                             which)
{
}

bool RowReader::has_types() const
{
    auto const value = m_select.type(3);
    return m_select.type(1) == SQLITE_TEXT && m_select.type(2) == SQLITE_TEXT &&
           (value == SQLITE_TEXT || value == SQLITE_NULL) &&
           (m_version == without_checksums || m_select.type(4) == SQLITE_INTEGER);
}

CheckedRow RowReader::row() const
{
    // The types come first: reading a column as text may change what SQLite tells of it.
    auto const typed = has_types();
    Row row{.rank = rank(), .domain = m_select.text(1), .path = m_select.text(2), .text = std::nullopt};
    if (m_select.type(3) != SQLITE_NULL)
    {
        row.text = m_select.text(3);
    }
    auto const sum = checksum(row);
    auto const whole = typed && (m_version == without_checksums || number_of(m_select.integer(4)) == sum);
    return {.row = row, .checksum = sum, .is_whole = whole};
}

RowWriter::RowWriter(sqlite3* database)
    : m_insert(database, "INSERT INTO entry(rank, domain, path, checksum, value) VALUES(?1, ?2, ?3, ?4, ?5)")
{
}

std::uint64_t RowWriter::insert(Row const& row)
{
    auto const sum = checksum(row);
    m_insert.bind(1, row.rank).bind(2, row.domain).bind(3, row.path).bind(4, stored(sum)).bind(5, row.text).run();
    return sum;
}

} // namespace Ravik::StoreFormat
