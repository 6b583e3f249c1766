#include "Library/LibraryTest.h"

#include "Configuration/configuration_keys.h"
#include "Configuration/random_id.h"
#include "Configuration/store_format.h"

#include <chrono>
#include <numeric>
#include <poll.h>

namespace Ravik::Test
{

LibraryRow row(std::string const& path, std::int64_t rank, std::optional<std::string> const& text)
{
    auto const checksum = StoreFormat::checksum({.rank = rank, .domain = recipe_domain, .path = path, .text = text});
    return {.path = path, .rank = rank, .text = text, .checksum = checksum};
}

LibraryRow removed(LibraryRow row)
{
    row.text.reset();
    row.is_removed = true;
    return row;
}

std::uint64_t sum_of(std::vector<LibraryRow> const& rows)
{
    return std::accumulate(rows.begin(), rows.end(), std::uint64_t(0),
                           [](std::uint64_t sum, LibraryRow const& row) { return sum + row.checksum; });
}

PostgresServer& LibraryTest::server()
{
    // The tests of foreign hands need that one user has a password, and that there is a certificate.
    static PostgresServer server(
        {.is_durable = false, .configuration = "", .access = "host all guarded 127.0.0.1/32 scram-sha-256"});
    return server;
}

LibraryTest::LibraryTest()
{
    static int count = 0;
    database = "library_" + std::to_string(++count);
    settings = {.postgresql = server().make_database(database), .schema = "ravik"};
    Library::initialise(settings, false);
}

std::unique_ptr<Library> LibraryTest::join(std::string const& name, Kind kind, std::string const& process)
{
    connect(name, Kind::Turns)->enter(caller(name).server);
    return connect(name, kind, process);
}

std::unique_ptr<Library> LibraryTest::connect(std::string const& name, Kind kind, std::string const& process) const
{
    return Library::connect(settings, caller(name, process), kind);
}

Library::Caller LibraryTest::caller(std::string const& name, std::string const& process)
{
    return {.server = {.name = name, .store = "store of " + name},
            .process = process.empty() ? "process of " + name : process};
}

LibraryEdit LibraryTest::draft(LibraryHead const& head, std::vector<LibraryRow> const& rows)
{
    LibraryEdit edit{.head = head, .rows = rows, .records = {}};
    edit.head.position = {.revision = head.position.revision + 1, .edit = random_id()};
    for (auto const& row : rows)
    {
        edit.head.sum += row.is_removed ? -row.checksum : row.checksum;
        edit.head.last_rank = std::max(edit.head.last_rank, row.rank);
    }
    StoredRecord record;
    record.who = "anna";
    record.action = "edit";
    record.server = "line1";
    record.edit = edit.head.position.edit;
    edit.records.push_back(record);
    return edit;
}

LibraryPosition LibraryTest::edit(Library& library, std::vector<LibraryRow> const& rows)
{
    auto const edit = draft(library.begin_turn(), rows);
    static_cast<void>(library.commit(edit));
    return edit.head.position;
}

void LibraryTest::await(std::string const& sql, std::string const& result) const
{
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (run(sql) != result)
    {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline) << sql << " does not become " << result;
        poll(nullptr, 0, 5);
    }
}

std::optional<Failure> failure_of(std::function<void()> const& act)
{
    try
    {
        act();
        return std::nullopt;
    }
    catch (LibraryError const& error)
    {
        return Failure{.kind = error.kind(), .text = error.what()};
    }
}

} // namespace Ravik::Test
