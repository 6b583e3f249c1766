#pragma once

#include "Configuration/Library.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <libpq-fe.h>

namespace Ravik::Benchmark
{

/// What a program would do that talks to the library's database by libpq alone. Failures are thrown.
class BareDatabase
{
public:
    explicit BareDatabase(LibrarySettings const& library);

    /// Makes a table with the texts of all recipes, and returns one of them.
    std::string copy_rows();
    /// Replaces a text in it, notifies and commits in one message.
    void update(std::string const& path, std::string const& text);

    /// The texts of what came after the revision, not brought into anything: how many bytes.
    std::size_t read(std::int64_t revision);
    /// The same as rows and records.
    std::vector<LibraryRow> rows_since(std::int64_t revision);
    std::vector<StoredRecord> records_since(std::int64_t revision);

private:
    struct Finish
    {
        void operator()(PGconn* connection) const noexcept { PQfinish(connection); }
    };
    struct Clear
    {
        void operator()(PGresult* result) const noexcept { PQclear(result); }
    };
    using Result = std::unique_ptr<PGresult, Clear>;

    Result run(std::string const& sql);
    Result select_rows(std::int64_t revision);
    Result select_records(std::int64_t revision);
    std::string quoted(std::string const& text);

    std::unique_ptr<PGconn, Finish> m_connection;
    std::string m_schema;
};

} // namespace Ravik::Benchmark
