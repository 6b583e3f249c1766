#pragma once

#include "Configuration/StoreError.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <sqlite3.h>

/// SQLite's connections and statements as objects, its failures as exceptions. Not thread-safe.
namespace Ravik::Sqlite
{

/// A failure of SQLite with its result code.
class Error : public StoreError
{
public:
    Error(int code, std::string const& message) : StoreError(message), m_code(code & 0xFF) {}

    /// The primary result code.
    int code() const noexcept { return m_code; }

private:
    int m_code;
};

struct CloseDatabase
{
    void operator()(sqlite3* database) const noexcept { sqlite3_close_v2(database); }
};

using Database = std::unique_ptr<sqlite3, CloseDatabase>;

/// Opens an existing file for reading and writing. Throws `Error`, as everything below does.
Database open(std::filesystem::path const& file);
/// Opens the file as it stands, without its write-ahead log and without locks, for reading, also where it is cut short.
/// Whoever reads it has taken the file, so that nobody changes it meanwhile.
Database open_without_log(std::filesystem::path const& file);

/// Executes statements that give no rows.
void execute(sqlite3* database, std::string const& sql);

/// A prepared statement; texts are bound from 1 on and must live until `run` or the last `step`.
class Statement
{
public:
    Statement(sqlite3* database, std::string_view sql);

    Statement& bind(int position, std::string_view text);
    /// Nothing binds a null.
    Statement& bind(int position, std::optional<std::string_view> text);
    Statement& bind(int position, std::int64_t number);

    /// Steps to the next row; behind the last one the statement is ready for its next use.
    bool step();
    void run();

    /// The type of a column as it is stored: SQLITE_INTEGER, SQLITE_TEXT, SQLITE_NULL, …
    int type(int column) const;
    /// Valid until the next step.
    std::string_view text(int column) const;
    std::int64_t integer(int column) const;

private:
    struct Finalize
    {
        void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
    };

    sqlite3* m_database;
    std::unique_ptr<sqlite3_stmt, Finalize> m_statement;
};

/// As long as it lives, pages of the database's file are read where the system keeps them instead of being copied one
/// by one. Nothing is written meanwhile. Where the system does not provide this, or a page can't be read, nothing
/// changes: then reading gives SQLite's errors as ever.
class MappedReading
{
public:
    explicit MappedReading(sqlite3* database);
    MappedReading(MappedReading const&) = delete;
    MappedReading& operator=(MappedReading const&) = delete;
    ~MappedReading();

private:
    sqlite3* m_database;
};

/// The first column of the first row as a number, 0 without a row.
std::int64_t number(sqlite3* database, std::string_view sql);

} // namespace Ravik::Sqlite
