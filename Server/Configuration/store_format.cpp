#include "Configuration/store_format.h"

#include <algorithm>
#include <array>
#include <bit>
#include <map>
#include <numeric>
#include <random>
#include <span>
#include <string>
#include <utility>
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
    static Definitions const third{
        {"entry", second.at("entry")},
        {"entry_path", index},
        {"entry_sum", "CREATE TABLE entry_sum(number INTEGER PRIMARY KEY, entries INTEGER NOT NULL, total INTEGER NOT "
                      "NULL, stamp INTEGER NOT NULL, base INTEGER NOT NULL, records INTEGER NOT NULL, record_total "
                      "INTEGER NOT NULL, record_bytes INTEGER NOT NULL, last_record INTEGER NOT NULL, checksum INTEGER "
                      "NOT NULL)"},
        {"history", "CREATE TABLE history(id INTEGER PRIMARY KEY, time TEXT NOT NULL, who TEXT NOT NULL, action TEXT "
                    "NOT NULL, asked TEXT NOT NULL, outcome TEXT NOT NULL, text TEXT NOT NULL, note TEXT NOT NULL, "
                    "checksum INTEGER NOT NULL, body TEXT NOT NULL, places TEXT NOT NULL)"}};
    return version == without_checksums ? first : version == without_history ? second : third;
}

std::uint64_t hash(std::string_view text, std::uint64_t seed)
{
    return XXH3_64bits_withSeed(text.data(), text.size(), seed);
}

/// The columns of the sum before its checksum, in their order.
std::string_view sum_columns(std::int64_t version)
{
    return version == without_history ? "entries, total, stamp, base"
                                      : "entries, total, stamp, base, records, record_total, record_bytes, last_record";
}

/// The fields of those columns.
std::array<std::uint64_t*, 8> fields_of(Sum& sum)
{
    auto& history = sum.history;
    return {&sum.rows,        &sum.total,     &sum.stamp,     &sum.base,
            &history.records, &history.total, &history.bytes, &history.last};
}

/// How many of the fields a version has.
std::size_t sum_size(std::int64_t version)
{
    return version == without_history ? 4 : 8;
}

std::uint64_t checksum(Sum sum, std::int64_t version)
{
    std::uint64_t result = 0;
    for (std::size_t field = 0; field != sum_size(version); ++field)
    {
        auto const number = *fields_of(sum).at(field);
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
    auto const version = Sqlite::number(database, "PRAGMA user_version");
    Sqlite::Statement select(database,
                             "SELECT number, checksum, " + std::string(sum_columns(version)) + " FROM entry_sum");
    if (!select.step())
    {
        return std::nullopt;
    }
    Sum sum;
    auto whole = select.type(0) == SQLITE_INTEGER && select.type(1) == SQLITE_INTEGER && select.integer(0) == 1;
    for (std::size_t field = 0; field != sum_size(version); ++field)
    {
        auto const column = static_cast<int>(field) + 2;
        whole = whole && select.type(column) == SQLITE_INTEGER;
        *fields_of(sum).at(field) = number_of(select.integer(column));
    }
    whole = whole && number_of(select.integer(1)) == checksum(sum, version) && !select.step();
    return whole ? std::optional(sum) : std::nullopt;
}

void write_sum(sqlite3* database, Sum const& sum)
{
    auto const version = Sqlite::number(database, "PRAGMA user_version");
    std::string values;
    for (std::size_t field = 0; field != sum_size(version); ++field)
    {
        values += ", ?" + std::to_string(field + 2);
    }
    Sqlite::Statement write(database, "REPLACE INTO entry_sum(number, checksum, " + std::string(sum_columns(version)) +
                                          ") VALUES(1, ?1" + values + ")");
    auto copy = sum;
    for (std::size_t field = 0; field != sum_size(version); ++field)
    {
        write.bind(static_cast<int>(field) + 2, stored(*fields_of(copy).at(field)));
    }
    write.bind(1, stored(checksum(sum, version))).run();
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

// Records -------------------------------------------------------------------------------------------------------------

namespace
{

/// The texts of a record in the order of their columns.
constexpr std::array record_texts{&StoredRecord::time,  &StoredRecord::who,     &StoredRecord::action,
                                  &StoredRecord::asked, &StoredRecord::outcome, &StoredRecord::text,
                                  &StoredRecord::note,  &StoredRecord::body,    &StoredRecord::places};
constexpr auto record_columns = "id, checksum, time, who, action, asked, outcome, text, note, body, places";
constexpr int first_text = 2;

} // namespace

std::uint64_t checksum(StoredRecord const& record)
{
    auto result = number_of(record.id);
    for (auto const text : record_texts)
    {
        result = hash(record.*text, result);
    }
    return result;
}

std::uint64_t bytes_of(StoredRecord const& record) noexcept
{
    constexpr std::uint64_t numbers = 32;
    return std::accumulate(record_texts.begin(), record_texts.end(), numbers,
                           [&record](std::uint64_t sum, auto const text) { return sum + (record.*text).size(); });
}

RecordReader::RecordReader(sqlite3* database, std::string const& which)
    : m_select(database, "SELECT " + std::string(record_columns) + " FROM history " + which)
{
}

RecordReader& RecordReader::bind(int position, std::int64_t number)
{
    m_select.bind(position, number);
    return *this;
}

std::optional<StoredRecord> RecordReader::record() const
{
    StoredRecord record{.id = id()};
    auto whole = m_select.type(1) == SQLITE_INTEGER;
    auto column = first_text;
    for (auto const text : record_texts)
    {
        whole = whole && m_select.type(column) == SQLITE_TEXT;
        record.*text = whole ? m_select.text(column) : std::string_view();
        ++column;
    }
    whole = whole && number_of(m_select.integer(1)) == checksum(record);
    return whole ? std::optional(std::move(record)) : std::nullopt;
}

RecordWriter::RecordWriter(sqlite3* database)
    : m_write(database, "REPLACE INTO history(" + std::string(record_columns) +
                            ") VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11)")
{
}

std::uint64_t RecordWriter::write(StoredRecord const& record)
{
    auto const sum = checksum(record);
    m_write.bind(1, record.id).bind(2, stored(sum));
    auto position = first_text + 1;
    for (auto const text : record_texts)
    {
        m_write.bind(position, std::string_view(record.*text));
        ++position;
    }
    m_write.run();
    return sum;
}

} // namespace Ravik::StoreFormat
