#include "Configuration/Store.h"

#include "Configuration/ProjectError.h"
#include "Configuration/tree.h"
#include "RavikSrvExt/MapBuilder.h"
#include "Json/Json.h"
#include "Json/Reader.h"

#include <sqlite3.h>

#include <algorithm>
#include <fcntl.h>
#include <map>
#include <optional>
#include <random>
#include <string_view>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace Ravik
{

using RavikSrv::Value;

namespace
{

/// Tells a store of this program from any other SQLite file: "Ravk" in ASCII.
constexpr int application_id = 0x5261766B;
/// The layout of the tables; a store of a later version is not opened.
constexpr int layout_version = 1;

/// The byte on which SQLite's writers hold a lock, by its file format: the byte at 1 GiB plus two.
constexpr off_t reserved_byte = 0x40000001;
constexpr off_t shared_bytes = 0x40000002;
constexpr off_t shared_length = 510;

/// Two processes that open a store in the same instant may both find it taken; so long each of them tries again.
constexpr std::chrono::milliseconds collision_grace{250};

struct CloseDatabase
{
    void operator()(sqlite3* database) const noexcept { sqlite3_close_v2(database); }
};

struct FinalizeStatement
{
    void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
};

using Database = std::unique_ptr<sqlite3, CloseDatabase>;

/// A failure of SQLite with its result code.
class SqliteError : public StoreError
{
public:
    SqliteError(int code, std::string const& message) : StoreError(message), m_code(code & 0xFF) {}

    /// The primary result code.
    int code() const noexcept { return m_code; }

private:
    int m_code;
};

void check(sqlite3* database, int code)
{
    if (code != SQLITE_OK && code != SQLITE_ROW && code != SQLITE_DONE)
    {
        throw SqliteError(code, sqlite3_errmsg(database));
    }
}

void execute(sqlite3* database, char const* sql)
{
    check(database, sqlite3_exec(database, sql, nullptr, nullptr, nullptr));
}

/// A prepared statement; text parameters are bound from 1 on and must live until `run` or the last `step`.
class Statement
{
public:
    Statement(sqlite3* database, char const* sql) : m_database(database)
    {
        sqlite3_stmt* statement = nullptr;
        check(database, sqlite3_prepare_v3(database, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr));
        m_statement.reset(statement);
    }

    Statement& bind(int position, std::string_view text)
    {
        check(m_database,
              sqlite3_bind_text64(m_statement.get(), position, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8));
        return *this;
    }

    Statement& bind_null(int position)
    {
        check(m_database, sqlite3_bind_null(m_statement.get(), position));
        return *this;
    }

    /// Steps to the next row; behind the last one the statement is ready for its next use.
    bool step()
    {
        auto const code = sqlite3_step(m_statement.get());
        if (code == SQLITE_ROW)
        {
            return true;
        }
        sqlite3_reset(m_statement.get());
        check(m_database, code);
        return false;
    }

    void run()
    {
        while (step())
        {
        }
    }

    bool is_null(int column) const { return sqlite3_column_type(m_statement.get(), column) == SQLITE_NULL; }

    std::string_view text(int column) const
    {
        auto const* const characters = static_cast<char const*>(sqlite3_column_blob(m_statement.get(), column));
        return {characters, static_cast<std::size_t>(sqlite3_column_bytes(m_statement.get(), column))};
    }

    int integer(int column) const { return sqlite3_column_int(m_statement.get(), column); }

private:
    sqlite3* m_database;
    std::unique_ptr<sqlite3_stmt, FinalizeStatement> m_statement;
};

int pragma(sqlite3* database, char const* sql)
{
    Statement statement(database, sql);
    return statement.step() ? statement.integer(0) : 0;
}

/// The process that holds SQLite's locks on the file, where the system tells. Only called while this process holds
/// none: closing any descriptor of a file gives up a process's locks on it.
std::optional<pid_t> lock_holder(std::filesystem::path const& file)
{
    auto const descriptor = ::open(file.c_str(), O_RDWR | O_CLOEXEC);
    if (descriptor < 0)
    {
        return std::nullopt;
    }
    std::optional<pid_t> holder;
    for (auto const& [start, length] : {std::pair{shared_bytes, shared_length}, std::pair{reserved_byte, off_t{1}}})
    {
        struct flock lock
        {
        };
        lock.l_type = F_WRLCK;
        lock.l_whence = SEEK_SET;
        lock.l_start = start;
        lock.l_len = length;
        if (::fcntl(descriptor, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK)
        {
            holder = lock.l_pid;
            break;
        }
    }
    ::close(descriptor);
    return holder;
}

Database open_database(std::filesystem::path const& file)
{
    sqlite3* opened = nullptr;
    auto const code = sqlite3_open_v2(file.c_str(), &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    Database database(opened);
    if (code != SQLITE_OK)
    {
        throw SqliteError(code, opened == nullptr ? sqlite3_errstr(code) : sqlite3_errmsg(opened));
    }
    sqlite3_extended_result_codes(opened, 1);
    return database;
}

/// Takes the file for this process and settles how it is written. The locking mode comes before the journal mode, so
/// that the write-ahead log works without shared memory and a second process is told at once.
void take_file(sqlite3* database)
{
    execute(database, "PRAGMA locking_mode=EXCLUSIVE");
    execute(database, "BEGIN EXCLUSIVE; COMMIT");
    execute(database, "PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL");
    execute(database, "BEGIN EXCLUSIVE; COMMIT");
}

/// Opens the file and takes it, trying until `wait` has passed. Each try opens the file anew: one that fails keeps a
/// shared lock in this locking mode, with which several waiting processes would hold each other off for good.
Database open_and_take(std::filesystem::path const& file, std::chrono::milliseconds wait)
{
    auto const deadline = std::chrono::steady_clock::now() + wait;
    std::minstd_rand random(static_cast<std::minstd_rand::result_type>(getpid()));
    while (true)
    {
        auto database = open_database(file);
        try
        {
            take_file(database.get());
            return database;
        }
        catch (SqliteError const& error)
        {
            if (error.code() != SQLITE_BUSY || std::chrono::steady_clock::now() >= deadline)
            {
                throw;
            }
        }
        database.reset();
        // Processes that were started together try again at different times.
        std::this_thread::sleep_for(std::chrono::milliseconds(std::uniform_int_distribution(5, 25)(random)));
    }
}

bool is_empty(sqlite3* database)
{
    return pragma(database, "SELECT count(*) FROM sqlite_master") == 0;
}

void make_tables(sqlite3* database)
{
    auto const sql =
        "BEGIN;"
        "CREATE TABLE entry(rank INTEGER PRIMARY KEY, domain TEXT NOT NULL, path TEXT NOT NULL, value TEXT);"
        "CREATE UNIQUE INDEX entry_path ON entry(domain, path);"
        "PRAGMA application_id=" +
        std::to_string(application_id) + ";PRAGMA user_version=" + std::to_string(layout_version) + ";COMMIT";
    execute(database, sql.c_str());
}

ProjectError explained(std::filesystem::path const& file, SqliteError const& error)
{
    auto const name = file.string();
    if (error.code() == SQLITE_NOTADB)
    {
        return ProjectError(name + " is not a store of ravik: it is no SQLite database. Move it away to start anew.");
    }
    if (error.code() == SQLITE_BUSY)
    {
        auto const holder = lock_holder(file);
        return ProjectError("the project is open in another process" +
                            (holder ? " (pid " + std::to_string(*holder) + ")" : std::string()) +
                            "; close it there, or wait for it with --wait SECONDS");
    }
    return ProjectError("can't open the store " + name + ": " + error.what());
}

class SqliteStore : public Store
{
public:
    explicit SqliteStore(Database database)
        : m_database(std::move(database)),
          m_put(m_database.get(), "INSERT INTO entry(domain, path, value) VALUES(?1, ?2, ?3) "
                                  "ON CONFLICT(domain, path) DO UPDATE SET value = excluded.value"),
          m_erase(m_database.get(), "DELETE FROM entry WHERE domain = ?1 AND path = ?2"),
          // Paths below P stand between P:: and P:; in the order of their bytes, since ; follows :
          m_erase_below(m_database.get(),
                        "DELETE FROM entry WHERE domain = ?1 AND path > ?2 || '::' AND path < ?2 || ':;'")
    {
    }

    Value load(std::string const& domain) override;

    void begin() override { execute(m_database.get(), "BEGIN IMMEDIATE"); }

    void put(std::string const& domain, std::string const& path, Value const* value) override
    {
        m_put.bind(1, domain).bind(2, path);
        auto const text = value == nullptr ? std::string() : Json::write(*value, Json::Layout::Compact);
        (value == nullptr ? m_put.bind_null(3) : m_put.bind(3, text)).run();
    }

    void erase(std::string const& domain, std::string const& path) override
    {
        m_erase.bind(1, domain).bind(2, path).run();
        erase_below(domain, path);
    }

    void erase_below(std::string const& domain, std::string const& path) override
    {
        m_erase_below.bind(1, domain).bind(2, path).run();
    }

    void commit() override { execute(m_database.get(), "COMMIT"); }

    void rollback() noexcept override
    {
        // Where SQLite has ended the transaction itself there is nothing left to roll back.
        sqlite3_exec(m_database.get(), "ROLLBACK", nullptr, nullptr, nullptr);
    }

private:
    Database m_database;
    Statement m_put;
    Statement m_erase;
    Statement m_erase_below;
};

/// A row on its way into the tree.
struct LoadedRow
{
    std::string name;
    std::string path;
    /// Nothing for a folder.
    std::optional<Value> value;
};

using RowsByParent = std::map<std::string, std::vector<LoadedRow>>;

Value build(RowsByParent& rows, std::string const& path)
{
    RavikSrv::MapBuilder map;
    for (auto& row : rows[path])
    {
        map.insert(row.name, row.value ? std::move(*row.value) : build(rows, row.path));
    }
    return map.finish();
}

Value SqliteStore::load(std::string const& domain)
{
    RowsByParent rows;
    Json::Reader reader;
    Statement select(m_database.get(), "SELECT path, value FROM entry WHERE domain = ?1 ORDER BY rank");
    select.bind(1, domain);
    while (select.step())
    {
        std::string const path(select.text(0));
        auto const place = Tree::split_last(path);
        LoadedRow row{.name = place.name, .path = path, .value = std::nullopt};
        if (!select.is_null(1))
        {
            try
            {
                row.value = reader.parse(select.text(1));
            }
            catch (Json::ParseError const& error)
            {
                throw StoreError("the store holds a broken value at " + path + ": " + error.what());
            }
        }
        rows[place.parent].push_back(std::move(row));
    }
    return build(rows, "");
}

} // namespace

std::unique_ptr<Store> Store::open(std::filesystem::path const& file, std::chrono::seconds wait)
{
    try
    {
        auto database = open_and_take(file, std::max<std::chrono::milliseconds>(wait, collision_grace));
        auto const id = pragma(database.get(), "PRAGMA application_id");
        if (id != application_id && !(id == 0 && is_empty(database.get())))
        {
            throw ProjectError(file.string() + " is a database of another program; move it away to start anew");
        }
        if (id == application_id && pragma(database.get(), "PRAGMA user_version") > layout_version)
        {
            throw ProjectError(file.string() + " was written by a later version of ravik; use that version");
        }
        if (id != application_id)
        {
            make_tables(database.get());
        }
        return std::make_unique<SqliteStore>(std::move(database));
    }
    catch (SqliteError const& error)
    {
        throw explained(file, error);
    }
}

} // namespace Ravik
