#pragma once

#include "Configuration/Sqlite.h"
#include "Configuration/Store.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// How the configuration stands in the store's tables, and the checksums that hold it together.
namespace Ravik::StoreFormat
{

/// Tells a store of this program from any other SQLite file: "Ravk" in ASCII.
constexpr std::int64_t application_id = 0x5261766B;
/// The versions of the layout; a store of a later one is not opened. The first had no checksums, the second no history,
/// the third no copy of a library.
constexpr std::int64_t without_checksums = 1;
constexpr std::int64_t without_history = 2;
constexpr std::int64_t without_library = 3;
constexpr std::int64_t newest = 4;

/// Where a row stands.
enum class Table
{
    own,
    /// In the copy of a library: all of the recipe management's domain.
    shared,
};

/// A row of the configuration. The views are valid as long as what they were taken from.
struct Row
{
    /// Its place in the order of all rows.
    std::int64_t rank = 0;
    std::string_view domain;
    std::string_view path;
    /// JSON, nothing for a folder.
    std::optional<std::string_view> text;
};

/// Of rank, domain and path, as they stand in the index, too.
std::uint64_t name_checksum(Row const& row);
std::uint64_t checksum(Row const& row);

/// What the rows of a table come to.
struct RowSum
{
    std::uint64_t rows = 0;
    /// The sum of their checksums.
    std::uint64_t total = 0;

    void add(std::uint64_t row) noexcept { ++rows, total += row; }
    void remove(std::uint64_t row) noexcept { --rows, total -= row; }

    friend bool operator==(RowSum const& left, RowSum const& right) = default;
};

/// Never 0, which stands for no copy.
std::uint64_t checksum(LibraryCopy const& copy);

/// What the records of the history come to.
struct RecordSum
{
    std::uint64_t records = 0;
    /// The sum of their checksums.
    std::uint64_t total = 0;
    /// What they take, see `bytes_of`.
    std::uint64_t bytes = 0;
    /// The highest number that a record ever had.
    std::uint64_t last = 0;

    void add(std::uint64_t record, std::uint64_t size) noexcept { ++records, total += record, bytes += size; }
    void remove(std::uint64_t record, std::uint64_t size) noexcept { --records, total -= record, bytes -= size; }
};

std::uint64_t checksum(StoredRecord const& record);
/// What the record takes in the store, about.
std::uint64_t bytes_of(StoredRecord const& record) noexcept;

/// What all rows and records come to. It is written in each transaction, so a row that is lost, or that stands as it
/// did before, is found out; and it ties the write-ahead log to its file.
struct Sum
{
    RowSum own{};
    /// Random, drawn anew for each transaction: no two states have the same, not those of two copies either.
    std::uint64_t stamp = 0;
    /// The stamp that stood in the file itself, below the log, when the transaction was made.
    std::uint64_t base = 0;
    RecordSum history{};
    RowSum shared{};
    /// The checksum of what the copy of a library is of, 0 where there is none.
    std::uint64_t copy = 0;
};

std::uint64_t random_stamp();

/// Makes the tables of the newest version in an empty file, without rows.
void make_tables(sqlite3* database);
/// Whether the file's tables are those of the version and nothing else.
bool has_own_tables(sqlite3* database, std::int64_t version);

/// Nothing where the sum is missing or damaged.
std::optional<Sum> read_sum(sqlite3* database);
void write_sum(sqlite3* database, Sum const& sum);

/// What the copy of a library is of, nothing without one and where that is damaged.
struct CheckedCopy
{
    std::optional<LibraryCopy> copy;
    bool is_whole = true;
};

CheckedCopy read_copy(sqlite3* database);
void write_copy(sqlite3* database, std::optional<LibraryCopy> const& copy);

/// A row as it stands, damaged as it may be.
struct CheckedRow
{
    Row row;
    /// What its checksum is to be.
    std::uint64_t checksum = 0;
    /// Whether its columns have their types and it has that checksum, which the first version does not have.
    bool is_whole = false;
};

/// Reads rows, one after another.
class RowReader
{
public:
    enum class Order
    {
        ascending,
        descending,
    };
    /// Reads all rows of the table by their ranks.
    RowReader(sqlite3* database, std::int64_t version, Table table, Order order = Order::ascending);
    /// Reads the row of that rank.
    RowReader(sqlite3* database, std::int64_t version, Table table, std::int64_t rank);

    bool step() { return m_select.step(); }
    std::int64_t rank() const { return m_select.integer(0); }
    /// The row, valid until the next step.
    CheckedRow row() const;

private:
    RowReader(sqlite3* database, std::int64_t version, Table table, std::string const& which);
    bool has_types() const;

    std::int64_t m_version;
    Sqlite::Statement m_select;
};

/// Adds rows that were not there before.
class RowWriter
{
public:
    RowWriter(sqlite3* database, Table table);
    /// Returns the row's checksum.
    std::uint64_t insert(Row const& row);

private:
    Sqlite::Statement m_insert;
};

/// Reads records of the history.
class RecordReader
{
public:
    /// Those that the condition, a clause of SQL, tells. Its parameters are bound by `bind`.
    RecordReader(sqlite3* database, std::int64_t version, std::string const& which);

    template <typename Parameter> RecordReader& bind(int position, Parameter parameter)
    {
        m_select.bind(position, parameter);
        return *this;
    }
    bool step() { return m_select.step(); }
    std::int64_t id() const { return m_select.integer(0); }
    /// The edit as it stands, valid until the next step.
    std::string_view edit() const;
    /// The record; nothing where it is damaged.
    std::optional<StoredRecord> record() const;

private:
    Sqlite::Statement m_select;
};

/// Writes records of the history.
class RecordWriter
{
public:
    explicit RecordWriter(sqlite3* database);
    /// Adds the record, or puts it in the place of the one of its number. Returns its checksum.
    std::uint64_t write(StoredRecord const& record);

private:
    Sqlite::Statement m_write;
};

} // namespace Ravik::StoreFormat
