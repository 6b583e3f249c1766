#include "SharedLines.h"

#include "KilledProcess.h"
#include "library_project.h"

#include "Project/library_membership.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace Ravik::Test
{

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace
{

/// Standbys may connect, and a server that does not answer shall not hold up the test.
PostgresServer::Options database_options()
{
    return {.is_durable = false, .configuration = "", .access = "host replication all 127.0.0.1/32 trust"};
}

/// The proxies read what passes.
constexpr char const* line_settings = "user=postgres dbname=postgres sslmode=disable gssencmode=disable";

} // namespace

SharedLines::SharedLines(int count) : m_database(std::make_unique<PostgresServer>(database_options()))
{
    static_cast<void>(Library::initialise(settings(), false));
    for (int number = 1; number <= count; ++number)
    {
        auto const name = "line" + std::to_string(number);
        auto& line = *m_lines.emplace_back(std::make_unique<ServedLine>(name, line_settings, m_database->port()));
        static_cast<void>(join_library(line.folder(), {.name = name}, {}));
        line.start();
    }
    await_all(std::chrono::seconds(60));
    auto const report = m_lines.front()->reach()->import(std::string(recipe_domain),
                                                         RandomEditor::first_configuration(), ImportOptions());
    expect(report.succeeded(), "there is nothing to begin with: " + report.text);
}

std::unique_ptr<PostgresServer> SharedLines::replace_database(std::unique_ptr<PostgresServer> database)
{
    std::swap(m_database, database);
    for (auto const& line : m_lines)
    {
        line->line().lead_to(m_database->port());
    }
    return database;
}

void SharedLines::start_database()
{
    // The processes of one that was killed end by themselves, and until then no other is started beside them.
    std::string failure;
    auto const is_started = eventually(std::chrono::seconds(30),
                                       [&]
                                       {
                                           try
                                           {
                                               m_database->start();
                                               return true;
                                           }
                                           catch (std::runtime_error const& error)
                                           {
                                               failure = error.what();
                                               return false;
                                           }
                                       });
    expect(is_started, failure);
}

milliseconds SharedLines::await_all(milliseconds most) const
{
    auto const begun = steady_clock::now();
    auto const head = head_of(settings()).position;
    for (auto const& line : m_lines)
    {
        LibraryStatus status;
        auto const has_come = [&]
        {
            auto const server = line->connect();
            status = server == nullptr ? LibraryStatus() : server->library_status(milliseconds(0));
            return status.state == LibraryStatus::State::Following && status.position.revision >= head.revision;
        };
        auto const left = std::chrono::duration_cast<milliseconds>(begun + most - steady_clock::now());
        expect(eventually(left, has_come), line->name() + " has not come to revision " + std::to_string(head.revision) +
                                               " within " + std::to_string(most.count()) + " ms: it is " +
                                               told(status));
    }
    return std::chrono::duration_cast<milliseconds>(steady_clock::now() - begun);
}

LibraryContent SharedLines::expect_one_truth(LibraryPosition const& since) const
{
    static_cast<void>(await_all(std::chrono::seconds(3 * patience())));
    auto content = content_of(settings(), since);
    for (auto const& line : m_lines)
    {
        auto const server = line->reach();
        auto const status = server->library_status(milliseconds(0));
        expect(status.position == content.head.position, line->name() + " is " + told(status) + " and the library at " +
                                                             std::to_string(content.head.position.revision));
        expect_same(line->name(), tree_of(*server), "the library", content.tree);
    }
    return content;
}

LibraryStatus SharedLines::await(ServedLine const& line, LibraryStatus::State state) const
{
    LibraryStatus status;
    auto const is_so = eventually(std::chrono::seconds(5 * patience()),
                                  [&]
                                  {
                                      status = line.reach()->library_status(milliseconds(0));
                                      return status.state == state;
                                  });
    expect(is_so, line.name() + " is " + told(status));
    return status;
}

std::string told(LibraryStatus const& status)
{
    constexpr auto states =
        std::to_array<char const*>({"none", "not joined", "connecting", "following", "alone", "stopped"});
    return std::string(states.at(static_cast<std::size_t>(status.state))) + " at revision " +
           std::to_string(status.position.revision) + (status.why.empty() ? "" : ": " + status.why);
}

int patience()
{
    auto const* const text = std::getenv("RAVIK_TEST_PATIENCE");
    return text == nullptr ? 1 : std::max(1, std::atoi(text)); // NOLINT(cert-err34-c): what is no number is 1
}

} // namespace Ravik::Test
