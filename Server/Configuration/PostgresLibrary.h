#pragma once

#include "Configuration/Library.h"
#include "Configuration/PostgresConnection.h"
#include "Configuration/PostgresSchema.h"

#include <optional>
#include <string>
#include <vector>

namespace Ravik
{

/// A library in PostgreSQL.
class PostgresLibrary final : public Library
{
public:
    PostgresLibrary(LibrarySettings const& settings, Caller const& caller, Kind kind);

    LibraryHead begin_turn() override;
    std::vector<std::string> commit(LibraryEdit const& edit) override;
    void end_turn() noexcept override;

    LibraryHead head() override;
    LibraryNews news(LibraryPosition const& since) override;
    LibraryNews everything() override;
    std::optional<LibraryRecord> record_of(std::string const& edit) override;

    bool wait(std::chrono::milliseconds most, int wake, std::atomic<std::int64_t> const& known) override;

    std::vector<LibraryServer> servers() override;
    void enter(LibraryServer const& server) override;
    void strike(LibraryServer const& server) override;
    std::vector<LibraryPeer> peers() override;
    void check_notifications(Library& other) override;

private:
    /// What is read sees one state of the library.
    class Snapshot;

    bool knows(LibraryPosition const& position, LibraryHead const& head);
    std::vector<LibraryRow> rows(PostgresStatement const& select);
    std::vector<LibraryRecord> records(PostgresStatement const& select);
    bool hears(PostgresLibrary& other);
    bool is_pooled(PostgresLibrary& other);

    PostgresConnection m_connection;
    PostgresSchema m_schema;
    /// Of the library.
    std::string m_id;
    /// The head, while this has the turn.
    std::optional<LibraryHead> m_turn;
};

} // namespace Ravik
