#include "BareDatabase.h"

#include <array>
#include <bit>
#include <stdexcept>

namespace Ravik::Benchmark
{

BareDatabase::BareDatabase(LibrarySettings const& library)
    : m_connection(PQconnectdb(library.postgresql.c_str())), m_schema(library.schema)
{
    run("SET client_min_messages = warning");
}

BareDatabase::Result BareDatabase::run(std::string const& sql)
{
    Result result(PQexec(m_connection.get(), sql.c_str()));
    auto const status = PQresultStatus(result.get());
    if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK)
    {
        throw std::runtime_error(sql.substr(0, 100) + ": " + PQerrorMessage(m_connection.get()));
    }
    return result;
}

std::string BareDatabase::quoted(std::string const& text)
{
    std::unique_ptr<char, decltype(&PQfreemem)> const literal(
        PQescapeLiteral(m_connection.get(), text.data(), text.size()), &PQfreemem);
    return literal.get();
}

std::string BareDatabase::copy_rows()
{
    run("CREATE TABLE bare AS SELECT path, text FROM " + m_schema + ".entries WHERE path LIKE '%::recipe%'");
    run("ALTER TABLE bare ADD PRIMARY KEY (path)");
    run("VACUUM ANALYZE bare");
    return PQgetvalue(run("SELECT text FROM bare LIMIT 1").get(), 0, 0);
}

void BareDatabase::update(std::string const& path, std::string const& text)
{
    run("BEGIN; UPDATE bare SET text = " + quoted(text) + " WHERE path = " + quoted(path) +
        "; NOTIFY bare, '1'; COMMIT");
}

BareDatabase::Result BareDatabase::select_rows(std::int64_t revision)
{
    return run("SELECT path, rank, text, checksum FROM " + m_schema + ".entries WHERE revision > " +
               std::to_string(revision));
}

namespace
{

/// The texts of a record in the order of their selection.
constexpr std::array record_texts{&StoredRecord::time,    &StoredRecord::server, &StoredRecord::edit,
                                  &StoredRecord::who,     &StoredRecord::action, &StoredRecord::asked,
                                  &StoredRecord::outcome, &StoredRecord::text,   &StoredRecord::note,
                                  &StoredRecord::body,    &StoredRecord::places};

/// The bytes of all texts of a result.
std::size_t size_of(PGresult const* result)
{
    std::size_t size = 0;
    for (int row = 0; row < PQntuples(result); ++row)
    {
        for (int column = 0; column < PQnfields(result); ++column)
        {
            size += static_cast<std::size_t>(PQgetlength(result, row, column));
        }
    }
    return size;
}

} // namespace

BareDatabase::Result BareDatabase::select_records(std::int64_t revision)
{
    return run("SELECT time, server, edit, who, action, asked, outcome, text, note, body, places FROM " + m_schema +
               ".history WHERE revision > " + std::to_string(revision) + " ORDER BY revision, number");
}

std::size_t BareDatabase::read(std::int64_t revision)
{
    return size_of(select_rows(revision).get()) + size_of(select_records(revision).get());
}

std::vector<LibraryRow> BareDatabase::rows_since(std::int64_t revision)
{
    auto const found = select_rows(revision);
    std::vector<LibraryRow> rows;
    for (int row = 0; row < PQntuples(found.get()); ++row)
    {
        auto const text = [&](int column) { return std::string(PQgetvalue(found.get(), row, column)); };
        rows.push_back({.path = text(0),
                        .rank = std::stoll(text(1)),
                        .text = text(2),
                        .checksum = std::bit_cast<std::uint64_t>(static_cast<std::int64_t>(std::stoll(text(3))))});
    }
    return rows;
}

std::vector<StoredRecord> BareDatabase::records_since(std::int64_t revision)
{
    auto const found = select_records(revision);
    std::vector<StoredRecord> records(static_cast<std::size_t>(PQntuples(found.get())));
    for (int row = 0; row < PQntuples(found.get()); ++row)
    {
        for (std::size_t column = 0; column < record_texts.size(); ++column)
        {
            records[static_cast<std::size_t>(row)].*record_texts[column] =
                PQgetvalue(found.get(), row, static_cast<int>(column));
        }
    }
    return records;
}

} // namespace Ravik::Benchmark
