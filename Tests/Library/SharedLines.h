#pragma once

#include "EditingClients.h"
#include "ServedLine.h"
#include "library_truth.h"

#include "Support/PostgresServer.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace Ravik::Test
{

/// Servers with a library, and its database.
class SharedLines
{
public:
    /// Starts so many servers, which have joined and hold what editors begin with.
    explicit SharedLines(int count);

    PostgresServer& database() noexcept { return *m_database; }
    /// Another one takes its place; returns the one before.
    std::unique_ptr<PostgresServer> replace_database(std::unique_ptr<PostgresServer> database);
    /// Starts it again after it was stopped in whatever way.
    void start_database();
    LibrarySettings settings() const { return {.postgresql = m_database->settings()}; }
    std::vector<std::unique_ptr<ServedLine>> const& all() const noexcept { return m_lines; }
    ServedLine& at(std::size_t index) const { return *m_lines.at(index); }

    /// Waits until each server has come to what the library has now, and follows. Returns how long that took; throws
    /// where it took more than the time.
    std::chrono::milliseconds await_all(std::chrono::milliseconds most) const;
    /// Nobody edits: each server has what the library has. Returns that.
    LibraryContent expect_one_truth(LibraryPosition const& since) const;
    LibraryStatus await(ServedLine const& line, LibraryStatus::State state) const;

private:
    std::unique_ptr<PostgresServer> m_database;
    std::vector<std::unique_ptr<ServedLine>> m_lines;
};

/// A server's state, for a message.
std::string told(LibraryStatus const& status);

/// How many times as long as they are to take things may take here, since it is busy or slow: the environment variable
/// RAVIK_TEST_PATIENCE, 1 without.
int patience();

} // namespace Ravik::Test
