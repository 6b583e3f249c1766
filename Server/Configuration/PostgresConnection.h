#pragma once

#include "Configuration/LibraryError.h"
#include "Configuration/PostgresResult.h"
#include "Configuration/PostgresStatement.h"

#include <array>
#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <libpq-fe.h>

namespace Ravik
{

/// An error that PostgreSQL told of, by its SQLSTATE.
class PostgresError : public LibraryError
{
public:
    PostgresError(Kind kind, std::string const& text, std::string_view state) : LibraryError(kind, text)
    {
        state.copy(m_state.data(), m_state.size());
    }

    std::string_view state() const noexcept { return {m_state.data(), m_state.size()}; }

private:
    std::array<char, 5> m_state{};
};

/// A connection to PostgreSQL. Statements go out together and are answered together: a round trip each time, with a
/// deadline of its own, so that nobody waits for a database that is frozen or cut off. Every operation may throw
/// `LibraryError`; after one that is not of the kind `Refused` the connection is closed, and whatever is asked of it is
/// `Unreachable`. Not thread-safe.
class PostgresConnection
{
public:
    using Milliseconds = std::chrono::milliseconds;
    using Results = std::vector<PostgresResult>;

    // Deadlines: of what is small, of what may carry much, and of waiting for others that edit.
    static constexpr Milliseconds soon{3000};
    static constexpr Milliseconds large{20000};
    static constexpr Milliseconds turn{20000};

    /// Connects; `application` is what the database's people see of it. A host that gives no answer for two seconds is
    /// left for the next one.
    PostgresConnection(std::string const& settings, std::string const& application);
    PostgresConnection(PostgresConnection const&) = delete;
    PostgresConnection& operator=(PostgresConnection const&) = delete;
    ~PostgresConnection() = default;

    /// Runs the statements, as one transaction where none is open. The first that fails ends it: none behind it is run.
    Results run(std::vector<PostgresStatement> const& statements, Milliseconds most);
    PostgresResult run(PostgresStatement const& statement, Milliseconds most);
    /// As `run` where the last statement is a COMMIT. `OutcomeUnknown` where the answer to it is missing. Whatever else
    /// it throws, nothing was committed; where it is `Refused` the transaction is over.
    Results commit(std::vector<PostgresStatement> const& statements, Milliseconds most);
    /// Ends the open transaction without a trace, also by closing the connection.
    void roll_back() noexcept;

    struct Notification
    {
        std::string channel;
        std::string text;
    };
    /// The next notification that has come, nothing where there is none.
    std::optional<Notification> notification();
    /// Waits until something comes from the database, `wake` (-1 for none) can be read, or the time is up. Returns
    /// whether something came.
    bool wait(Milliseconds most, int wake);

    /// The database and where it is, for messages.
    std::string const& place() const noexcept { return m_place; }

private:
    using Clock = std::chrono::steady_clock;
    using Kind = LibraryError::Kind;

    struct Finish
    {
        void operator()(PGconn* connection) const noexcept { PQfinish(connection); }
    };

    /// The results of statements up to the first that failed.
    struct Answer
    {
        Results results{};
        std::optional<PostgresError> failure{};
    };

    void set_up_session();
    /// Sends statements and takes the answers; `loss` is what it means where those are missing.
    Answer exchange(std::vector<PostgresStatement> const& statements, Milliseconds most, Kind loss);
    void expect_link();
    void send(std::vector<PostgresStatement> const& statements);
    void send(PostgresStatement const& statement);
    void receive(Answer& answer, std::vector<PostgresStatement> const& statements, Clock::time_point deadline);
    void receive_one(Answer& answer, Clock::time_point deadline);
    PostgresResult next_result(Clock::time_point deadline);
    /// Waits until the connection can be read, also written or `wake` be read; returns whether it is the connection.
    bool is_ready(bool to_write, Clock::time_point deadline, int wake);
    void take_input();
    PostgresError error_of(PostgresResult const& result) const;
    [[noreturn]] void fail(PostgresError const& failure);
    [[noreturn]] void lose_link();
    [[noreturn]] void lose(Kind kind, std::string const& why);

    std::unique_ptr<PGconn, Finish> m_connection;
    std::string m_place;
    /// Why the connection was closed.
    std::string m_loss;
    /// Whether the database warned of something since the last statements were sent.
    bool m_warned = false;

    /// A statement that the database keeps for this connection.
    struct Kept
    {
        enum class State
        {
            Missing,
            /// Sent to it, and not answered.
            Sent,
            There,
        };
        std::string name;
        State state = State::Missing;
    };
    /// By the texts.
    std::map<std::string, Kept> m_kept;
};

} // namespace Ravik
