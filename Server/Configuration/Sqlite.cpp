#include "Configuration/Sqlite.h"

#include <sys/mman.h>

namespace Ravik::Sqlite
{

namespace
{

void check(sqlite3* database, int code)
{
    if (code != SQLITE_OK && code != SQLITE_ROW && code != SQLITE_DONE)
    {
        throw Error(code, sqlite3_errmsg(database));
    }
}

Database open(std::string const& name, int flags)
{
    sqlite3* opened = nullptr;
    auto const code = sqlite3_open_v2(name.c_str(), &opened, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    Database database(opened);
    if (code != SQLITE_OK)
    {
        throw Error(code, opened == nullptr ? sqlite3_errstr(code) : sqlite3_errmsg(opened));
    }
    sqlite3_extended_result_codes(opened, 1);
    return database;
}

/// The path with all bytes escaped that mean something in a URI.
std::string uri(std::filesystem::path const& file)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text = "file:";
    for (auto const character : file.string())
    {
        auto const byte = static_cast<unsigned char>(character);
        auto const plain = (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
                           (byte >= 'a' && byte <= 'z') || byte == '/' || byte == '.' || byte == '-' || byte == '_';
        plain ? text += character : (text += '%', text += digits[byte >> 4U], text += digits[byte & 15U]);
    }
    return text;
}

} // namespace

Database open(std::filesystem::path const& file)
{
    return open(file.string(), SQLITE_OPEN_READWRITE);
}

Database open_without_log(std::filesystem::path const& file)
{
    auto database = open(uri(std::filesystem::absolute(file)) + "?immutable=1", SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
    // Otherwise SQLite reads no page of a file that is shorter than its header says.
    sqlite3_db_config(database.get(), SQLITE_DBCONFIG_WRITABLE_SCHEMA, 1, nullptr);
    return database;
}

void execute(sqlite3* database, std::string const& sql)
{
    check(database, sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr));
}

Statement::Statement(sqlite3* database, std::string_view sql) : m_database(database)
{
    sqlite3_stmt* statement = nullptr;
    check(database, sqlite3_prepare_v3(database, sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT,
                                       &statement, nullptr));
    m_statement.reset(statement);
}

Statement& Statement::bind(int position, std::string_view text)
{
    check(m_database,
          sqlite3_bind_text64(m_statement.get(), position, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8));
    return *this;
}

Statement& Statement::bind(int position, std::optional<std::string_view> text)
{
    if (text)
    {
        return bind(position, *text);
    }
    check(m_database, sqlite3_bind_null(m_statement.get(), position));
    return *this;
}

Statement& Statement::bind(int position, std::int64_t number)
{
    check(m_database, sqlite3_bind_int64(m_statement.get(), position, number));
    return *this;
}

bool Statement::step()
{
    auto const code = sqlite3_step(m_statement.get());
    if (code == SQLITE_ROW)
    {
        return true;
    }
    // The reset clears the connection's message where another statement runs besides.
    std::string const message = code == SQLITE_DONE ? "" : sqlite3_errmsg(m_database);
    sqlite3_reset(m_statement.get());
    if (code != SQLITE_DONE)
    {
        throw Error(code, message);
    }
    return false;
}

void Statement::run()
{
    while (step())
    {
    }
}

int Statement::type(int column) const
{
    return sqlite3_column_type(m_statement.get(), column);
}

std::string_view Statement::text(int column) const
{
    auto const* const characters = static_cast<char const*>(sqlite3_column_blob(m_statement.get(), column));
    return {characters, static_cast<std::size_t>(sqlite3_column_bytes(m_statement.get(), column))};
}

std::int64_t Statement::integer(int column) const
{
    return sqlite3_column_int64(m_statement.get(), column);
}

namespace
{

void map_up_to(sqlite3* database, sqlite3_int64 size) noexcept
{
    sqlite3_exec(database, ("PRAGMA mmap_size=" + std::to_string(size)).c_str(), nullptr, nullptr, nullptr);
}

/// Makes the system fetch all pages of the file's mapping. Whoever touched a page that the medium does not give would
/// be killed; here it is a failure.
bool fetch_pages(sqlite3_file* file, sqlite3_int64 size)
{
    void* begin = nullptr;
    if (file->pMethods->xFetch(file, 0, 1, &begin) != SQLITE_OK || begin == nullptr)
    {
        return false;
    }
    auto const fetched = madvise(begin, static_cast<std::size_t>(size), MADV_POPULATE_READ) == 0;
    file->pMethods->xUnfetch(file, 0, begin);
    return fetched;
}

} // namespace

MappedReading::MappedReading(sqlite3* database) : m_database(database)
{
    sqlite3_file* file = nullptr;
    sqlite3_int64 size = 0;
    if (sqlite3_file_control(database, "main", SQLITE_FCNTL_FILE_POINTER, &file) != SQLITE_OK || file == nullptr ||
        file->pMethods == nullptr || file->pMethods->iVersion < 3 ||
        file->pMethods->xFileSize(file, &size) != SQLITE_OK)
    {
        return;
    }
    map_up_to(database, size);
    if (!fetch_pages(file, size))
    {
        map_up_to(database, 0);
    }
}

MappedReading::~MappedReading()
{
    map_up_to(m_database, 0);
}

std::int64_t number(sqlite3* database, std::string_view sql)
{
    Statement statement(database, sql);
    return statement.step() ? statement.integer(0) : 0;
}

} // namespace Ravik::Sqlite
