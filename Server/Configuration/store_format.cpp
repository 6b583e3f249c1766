#include "Configuration/store_format.h"

#include "Configuration/configuration_keys.h"

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
    static Definitions const fourth{
        {"entry", second.at("entry")},
        {"entry_path", index},
        {"entry_sum", "CREATE TABLE entry_sum(number INTEGER PRIMARY KEY, entries INTEGER NOT NULL, total INTEGER NOT "
                      "NULL, stamp INTEGER NOT NULL, base INTEGER NOT NULL, records INTEGER NOT NULL, record_total "
                      "INTEGER NOT NULL, record_bytes INTEGER NOT NULL, last_record INTEGER NOT NULL, shared_entries "
                      "INTEGER NOT NULL, shared_total INTEGER NOT NULL, copy INTEGER NOT NULL, checksum INTEGER NOT "
                      "NULL)"},
        {"history", "CREATE TABLE history(id INTEGER PRIMARY KEY, time TEXT NOT NULL, who TEXT NOT NULL, action TEXT "
                    "NOT NULL, asked TEXT NOT NULL, outcome TEXT NOT NULL, text TEXT NOT NULL, note TEXT NOT NULL, "
                    "server TEXT NOT NULL, edit TEXT NOT NULL, checksum INTEGER NOT NULL, body TEXT NOT NULL, places "
                    "TEXT NOT NULL)"},
        {"history_edit", "CREATE INDEX history_edit ON history(edit) WHERE edit <> ''"},
        {"library", "CREATE TABLE library(number INTEGER PRIMARY KEY, library TEXT NOT NULL, server TEXT NOT NULL, "
                    "store TEXT NOT NULL, revision INTEGER NOT NULL, edit TEXT NOT NULL, checksum INTEGER NOT NULL)"},
        {"shared_entry", "CREATE TABLE shared_entry(rank INTEGER PRIMARY KEY, path TEXT NOT NULL, checksum INTEGER NOT "
                         "NULL, value TEXT)"},
        {"shared_entry_path", "CREATE UNIQUE INDEX shared_entry_path ON shared_entry(path)"}};
    return version == without_checksums ? first
           : version == without_history ? second
           : version == without_library ? third
                                        : fourth;
}

std::uint64_t hash(std::string_view text, std::uint64_t seed)
{
    return XXH3_64bits_withSeed(text.data(), text.size(), seed);
}

/// A number of the sum and its column.
struct SumField
{
    std::string_view column;
    std::uint64_t* number;
};

/// The numbers of the sum, in their order.
std::array<SumField, 11> fields_of(Sum& sum)
{
    auto& history = sum.history;
    return {{{"entries", &sum.own.rows},
             {"total", &sum.own.total},
             {"stamp", &sum.stamp},
             {"base", &sum.base},
             {"records", &history.records},
             {"record_total", &history.total},
             {"record_bytes", &history.bytes},
             {"last_record", &history.last},
             {"shared_entries", &sum.shared.rows},
             {"shared_total", &sum.shared.total},
             {"copy", &sum.copy}}};
}

/// How many of the fields a version has.
std::size_t sum_size(std::int64_t version)
{
    return version == without_history ? 4 : version == without_library ? 8 : 11;
}

/// The columns of those, each behind a comma.
std::string sum_columns(std::int64_t version)
{
    Sum sum;
    std::string columns;
    for (std::size_t field = 0; field != sum_size(version); ++field)
    {
        columns.append(", ").append(fields_of(sum).at(field).column);
    }
    return columns;
}

std::uint64_t checksum(Sum sum, std::int64_t version)
{
    std::uint64_t result = 0;
    for (std::size_t field = 0; field != sum_size(version); ++field)
    {
        auto const number = *fields_of(sum).at(field).number;
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
    Sqlite::Statement select(database, "SELECT number, checksum" + sum_columns(version) + " FROM entry_sum");
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
        *fields_of(sum).at(field).number = number_of(select.integer(column));
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
    Sqlite::Statement write(database, "REPLACE INTO entry_sum(number, checksum" + sum_columns(version) +
                                          ") VALUES(1, ?1" + values + ")");
    auto copy = sum;
    for (std::size_t field = 0; field != sum_size(version); ++field)
    {
        write.bind(static_cast<int>(field) + 2, stored(*fields_of(copy).at(field).number));
    }
    write.bind(1, stored(checksum(sum, version))).run();
}

// The copy of a library -----------------------------------------------------------------------------------------------

std::uint64_t checksum(LibraryCopy const& copy)
{
    auto result = number_of(copy.position.revision);
    for (auto const* const text : {&copy.library, &copy.server.name, &copy.server.store, &copy.position.edit})
    {
        result = hash(*text, result);
    }
    return std::max<std::uint64_t>(result, 1);
}

CheckedCopy read_copy(sqlite3* database)
{
    CheckedCopy checked;
    Sqlite::Statement select(database, "SELECT number, library, server, store, revision, edit, checksum FROM library");
    if (select.step())
    {
        constexpr std::array types{SQLITE_INTEGER, SQLITE_TEXT, SQLITE_TEXT, SQLITE_TEXT, SQLITE_INTEGER, SQLITE_TEXT};
        for (std::size_t column = 0; column != types.size(); ++column)
        {
            checked.is_whole = checked.is_whole && select.type(static_cast<int>(column)) == types.at(column);
        }
        auto const text = [&select](int column) { return std::string(select.text(column)); };
        checked.copy = {.library = text(1),
                        .server = {.name = text(2), .store = text(3)},
                        .position = {.revision = select.integer(4), .edit = text(5)}};
        auto const sum = number_of(select.integer(6));
        checked.is_whole =
            checked.is_whole && select.integer(0) == 1 && sum == checksum(*checked.copy) && !select.step();
    }
    if (!checked.is_whole)
    {
        checked.copy.reset();
    }
    return checked;
}

void write_copy(sqlite3* database, std::optional<LibraryCopy> const& copy)
{
    if (!copy)
    {
        Sqlite::execute(database, "DELETE FROM library");
        return;
    }
    Sqlite::Statement(database, "REPLACE INTO library(number, library, server, store, revision, edit, checksum) "
                                "VALUES(1, ?1, ?2, ?3, ?4, ?5, ?6)")
        .bind(1, std::string_view(copy->library))
        .bind(2, std::string_view(copy->server.name))
        .bind(3, std::string_view(copy->server.store))
        .bind(4, copy->position.revision)
        .bind(5, std::string_view(copy->position.edit))
        .bind(6, stored(checksum(*copy)))
        .run();
}

// Rows ----------------------------------------------------------------------------------------------------------------

namespace
{

/// The columns of a row, the checksum last.
std::string select_rows(std::int64_t version, Table table)
{
    static std::string const shared =
        "SELECT rank, '" + std::string(recipe_domain) + "', path, value, checksum FROM shared_entry ";
    return table == Table::shared         ? shared
           : version == without_checksums ? "SELECT rank, domain, path, value FROM entry "
                                          : "SELECT rank, domain, path, value, checksum FROM entry ";
}

} // namespace

RowReader::RowReader(sqlite3* database, std::int64_t version, Table table, Order order)
    : RowReader(database, version, table,
                std::string(order == Order::ascending ? "ORDER BY rank" : "ORDER BY rank DESC"))
{
}

RowReader::RowReader(sqlite3* database, std::int64_t version, Table table, std::int64_t rank)
    : RowReader(database, version, table, "WHERE rank = " + std::to_string(rank))
{
}

RowReader::RowReader(sqlite3* database, std::int64_t version, Table table, std::string const& which)
    : m_version(version), m_select(database, select_rows(version, table) + which)
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

RowWriter::RowWriter(sqlite3* database, Table table)
    : m_insert(database, table == Table::own
                             ? "INSERT INTO entry(rank, domain, path, checksum, value) VALUES(?1, ?2, ?3, ?4, ?5)"
                             : "INSERT INTO shared_entry(rank, path, checksum, value) VALUES(?1, ?3, ?4, ?5)")
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

/// The texts of a record in the order of their columns; the last two only those of an edit in a library have.
constexpr std::array record_texts{&StoredRecord::time,   &StoredRecord::who,     &StoredRecord::action,
                                  &StoredRecord::asked,  &StoredRecord::outcome, &StoredRecord::text,
                                  &StoredRecord::note,   &StoredRecord::body,    &StoredRecord::places,
                                  &StoredRecord::server, &StoredRecord::edit};
constexpr std::size_t texts_of_each = 9;
constexpr int first_text = 2;

std::string record_columns(std::int64_t version)
{
    return std::string("id, checksum, time, who, action, asked, outcome, text, note, body, places") +
           (version == without_library ? ", '', ''" : ", server, edit");
}

} // namespace

std::uint64_t checksum(StoredRecord const& record)
{
    auto result = number_of(record.id);
    // Records were there before there were libraries.
    auto const texts = record.server.empty() && record.edit.empty() ? texts_of_each : record_texts.size();
    for (std::size_t text = 0; text != texts; ++text)
    {
        result = hash(record.*record_texts.at(text), result);
    }
    return result;
}

std::uint64_t bytes_of(StoredRecord const& record) noexcept
{
    constexpr std::uint64_t numbers = 32;
    return std::accumulate(record_texts.begin(), record_texts.end(), numbers,
                           [&record](std::uint64_t sum, auto const text) { return sum + (record.*text).size(); });
}

RecordReader::RecordReader(sqlite3* database, std::int64_t version, std::string const& which)
    : m_select(database, "SELECT " + record_columns(version) + " FROM history " + which)
{
}

std::string_view RecordReader::edit() const
{
    return m_select.text(first_text + static_cast<int>(record_texts.size()) - 1);
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
    : m_write(database, "REPLACE INTO history(" + record_columns(newest) +
                            ") VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12, ?13)")
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
