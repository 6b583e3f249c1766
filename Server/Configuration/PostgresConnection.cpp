#include "Configuration/PostgresConnection.h"

#include "Configuration/postgres_errors.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <poll.h>

namespace Ravik
{

// Connecting ----------------------------------------------------------------------------------------------------------

namespace
{

/// Connects, with what is ours in the place of what the settings say of it.
PGconn* connect(std::string const& settings, std::string const& application)
{
    // Options from the environment of whoever started the program would set what nobody expects; those that the
    // settings name come later than this blank and count.
    auto const* const options = std::getenv("PGOPTIONS") == nullptr ? nullptr : " ";
    // The client's side of the keepalives; the database's are set with the session. The limit is one for each address.
    std::array const names{"options",
                           "dbname",
                           "application_name",
                           "client_encoding",
                           "connect_timeout",
                           "keepalives_idle",
                           "keepalives_interval",
                           "keepalives_count",
                           static_cast<char const*>(nullptr)};
    std::array const values{
        options, settings.c_str(), application.c_str(), "UTF8", "2", "5", "2", "3", static_cast<char const*>(nullptr)};
    return PQconnectdbParams(names.data(), values.data(), 1);
}

/// The database and where it is, as far as that is known.
std::string place_of(PGconn const* connection)
{
    auto const text = [](char const* value) { return std::string(value == nullptr ? "" : value); };
    auto const host = text(PQhost(connection));
    auto const port = text(PQport(connection));
    return "the database \"" + text(PQdb(connection)) + "\" at " + host + (host.starts_with('/') ? ", port " : ":") +
           port;
}

/// What to do about a connection that failed with this message.
std::string advice(PGconn const* connection, std::string const& message)
{
    auto const tells_of = [&message](char const* word) { return message.find(word) != std::string::npos; };
    if (PQconnectionNeedsPassword(connection) != 0)
    {
        return " (the password belongs in a pass file, passfile=… or ~/.pgpass, or in a service file)";
    }
    if (PQconnectionUsedPassword(connection) != 0 && tells_of("password"))
    {
        return " (the password in the pass file or service file is another one)";
    }
    return tells_of("certificate") ? " (sslrootcert=… names the certificate that vouches for the database's)" : "";
}

} // namespace

PostgresConnection::PostgresConnection(std::string const& settings, std::string const& application)
    : m_connection(connect(settings, application)), m_place(place_of(m_connection.get()))
{
    if (PQstatus(m_connection.get()) != CONNECTION_OK)
    {
        auto const message = PostgresErrors::in_one_line(PQerrorMessage(m_connection.get()));
        lose(Kind::Unreachable, m_place + " can't be reached: " + message + advice(m_connection.get(), message));
    }
    PQsetnonblocking(m_connection.get(), 1);
    PQenterPipelineMode(m_connection.get());
    PQsetNoticeReceiver(
        m_connection.get(),
        [](void* self, PGresult const* notice)
        {
            auto const* const severity = PQresultErrorField(notice, PG_DIAG_SEVERITY_NONLOCALIZED);
            static_cast<PostgresConnection*>(self)->m_warned |=
                severity != nullptr && std::string_view(severity) == "WARNING";
        },
        this);
    set_up_session();
}

void PostgresConnection::set_up_session()
{
    auto const* const reported = PQparameterStatus(m_connection.get(), "server_encoding");
    std::string const encoding = reported == nullptr ? "" : reported;
    if (encoding != "UTF8")
    {
        throw LibraryError(Kind::Refused,
                           m_place + " has the encoding " + encoding +
                               "; a library needs one made with ENCODING 'UTF8' (CREATE DATABASE … TEMPLATE template0 "
                               "ENCODING 'UTF8')");
    }
    // Names that are not qualified are PostgreSQL's own, so that nobody's objects are taken for them. Where the
    // database waits for standbys to apply an edit, it goes on doing so. What a policy would hide is an error. Warnings
    // are told: see `commit`.
    run(PostgresStatement(R"(
        SELECT set_config(name, value, false) FROM (VALUES
            ('search_path', 'pg_catalog, pg_temp'),
            ('default_transaction_isolation', 'read committed'),
            ('synchronous_commit', CASE current_setting('synchronous_commit')
                                       WHEN 'remote_apply' THEN 'remote_apply' ELSE 'on' END),
            ('statement_timeout', '15s'),
            ('lock_timeout', '12s'),
            ('idle_in_transaction_session_timeout', '10s'),
            ('tcp_keepalives_idle', '5'),
            ('tcp_keepalives_interval', '2'),
            ('tcp_keepalives_count', '3'),
            ('row_security', 'off'),
            ('work_mem', '64MB'),
            ('jit', 'off'),
            ('client_min_messages', 'warning')) AS setting(name, value))"),
        soon);
}

// Statements ----------------------------------------------------------------------------------------------------------

PostgresConnection::Results PostgresConnection::run(std::vector<PostgresStatement> const& statements, Milliseconds most)
{
    auto answer = exchange(statements, most, Kind::Unreachable);
    if (answer.failure)
    {
        fail(*answer.failure);
    }
    return std::move(answer.results);
}

PostgresResult PostgresConnection::run(PostgresStatement const& statement, Milliseconds most)
{
    return std::move(run(std::vector{statement}, most).front());
}

PostgresConnection::Results PostgresConnection::commit(std::vector<PostgresStatement> const& statements,
                                                       Milliseconds most)
{
    m_warned = false;
    auto answer = exchange(statements, most, Kind::OutcomeUnknown);
    if (answer.failure)
    {
        roll_back();
        fail(*answer.failure);
    }
    if (m_warned)
    {
        // So it is where somebody cancels the wait for a standby: the edit is there, and may yet be lost.
        lose(Kind::OutcomeUnknown, m_place + " made the edit without its standby having confirmed it");
    }
    if (answer.results.back().tag() != "COMMIT")
    {
        throw LibraryError(Kind::Refused, m_place + " did not make the edit");
    }
    return std::move(answer.results);
}

void PostgresConnection::roll_back() noexcept
{
    if (m_connection == nullptr || PQtransactionStatus(m_connection.get()) == PQTRANS_IDLE)
    {
        return;
    }
    try
    {
        run(PostgresStatement("ROLLBACK"), soon);
    }
    catch (std::exception const&)
    {
        m_connection.reset();
    }
}

PostgresConnection::Answer PostgresConnection::exchange(std::vector<PostgresStatement> const& statements,
                                                        Milliseconds most, Kind loss)
{
    expect_link();
    Answer answer;
    try
    {
        auto const deadline = Clock::now() + most;
        send(statements);
        receive(answer, statements, deadline);
    }
    catch (LibraryError const& lost)
    {
        // Where the database told of an error before it came to the last statement, it never got there.
        auto const never_got_there = answer.failure && answer.results.size() + 1 < statements.size();
        throw LibraryError(never_got_there ? Kind::Unreachable : loss, lost.what());
    }
    return answer;
}

void PostgresConnection::expect_link()
{
    // What has come meanwhile may be the news that the database has closed the connection.
    while (m_connection != nullptr && is_ready(false, Clock::now(), -1))
    {
        take_input();
    }
    if (m_connection == nullptr)
    {
        throw LibraryError(Kind::Unreachable, m_loss);
    }
}

void PostgresConnection::send(std::vector<PostgresStatement> const& statements)
{
    for (auto const& statement : statements)
    {
        send(statement);
    }
    if (PQpipelineSync(m_connection.get()) == 0)
    {
        lose_link();
    }
}

void PostgresConnection::send(PostgresStatement const& statement)
{
    std::vector<Oid> types;
    std::vector<char const*> values;
    std::vector<int> lengths;
    for (auto const& parameter : statement.parameters())
    {
        types.push_back(parameter.type);
        values.push_back(parameter.bytes.data());
        lengths.push_back(static_cast<int>(parameter.bytes.size()));
    }
    std::vector<int> const formats(values.size(), 1);
    auto const count = static_cast<int>(values.size());
    auto* const connection = m_connection.get();
    auto const* const sql = statement.sql().c_str();
    if (!statement.is_kept())
    {
        PQsendQueryParams(connection, sql, count, types.data(), values.data(), lengths.data(), formats.data(), 0) == 0
            ? lose_link()
            : void();
        return;
    }
    auto const next_name = "ravik_" + std::to_string(m_kept.size());
    auto& [name, state] = m_kept.try_emplace(statement.sql(), Kept{.name = next_name}).first->second;
    auto const is_missing = state == Kept::State::Missing;
    if ((is_missing && PQsendPrepare(connection, name.c_str(), sql, count, types.data()) == 0) ||
        PQsendQueryPrepared(connection, name.c_str(), count, values.data(), lengths.data(), formats.data(), 0) == 0)
    {
        lose_link();
    }
    state = is_missing ? Kept::State::Sent : state;
}

void PostgresConnection::receive(Answer& answer, std::vector<PostgresStatement> const& statements,
                                 Clock::time_point deadline)
{
    for (auto const& statement : statements)
    {
        auto const kept = statement.is_kept() ? m_kept.find(statement.sql()) : m_kept.end();
        if (kept != m_kept.end() && kept->second.state == Kept::State::Sent)
        {
            auto const before = answer.results.size();
            receive_one(answer, deadline);
            kept->second.state = answer.failure ? Kept::State::Missing : Kept::State::There;
            answer.results.erase(answer.results.begin() + static_cast<std::ptrdiff_t>(before), answer.results.end());
        }
        receive_one(answer, deadline);
    }
    if (next_result(deadline).status() != PGRES_PIPELINE_SYNC)
    {
        lose_link();
    }
}

void PostgresConnection::receive_one(Answer& answer, Clock::time_point deadline)
{
    auto result = next_result(deadline);
    if (result.status() == PGRES_FATAL_ERROR && !answer.failure)
    {
        auto const state = result.diagnosis(PG_DIAG_SQLSTATE);
        // Without a state it is libpq that failed: the connection is lost.
        state.empty() ? lose_link() : void(answer.failure = error_of(result));
    }
    if (!answer.failure)
    {
        answer.results.push_back(std::move(result));
    }
    // Behind the results of a statement stands nothing.
    next_result(deadline);
}

PostgresResult PostgresConnection::next_result(Clock::time_point deadline)
{
    auto unsent = PQflush(m_connection.get());
    while (unsent != 0 || PQisBusy(m_connection.get()) != 0)
    {
        if (unsent < 0)
        {
            lose_link();
        }
        if (!is_ready(unsent != 0, deadline, -1))
        {
            lose(Kind::Unreachable, m_place + " gives no answer");
        }
        take_input();
        unsent = PQflush(m_connection.get());
    }
    return PostgresResult(PQgetResult(m_connection.get()));
}

bool PostgresConnection::is_ready(bool to_write, Clock::time_point deadline, int wake)
{
    std::array<pollfd, 2> files{};
    files[0] = {.fd = PQsocket(m_connection.get()),
                .events = static_cast<short>(to_write ? POLLIN | POLLOUT : POLLIN),
                .revents = 0};
    files[1] = {.fd = wake, .events = POLLIN, .revents = 0};
    for (;;)
    {
        auto const left = std::chrono::ceil<Milliseconds>(deadline - Clock::now()).count();
        auto const ready = poll(files.data(), files.size(), static_cast<int>(std::max<std::int64_t>(left, 0)));
        if (ready >= 0 || errno != EINTR)
        {
            return ready > 0 && files[0].revents != 0;
        }
    }
}

void PostgresConnection::take_input()
{
    if (PQconsumeInput(m_connection.get()) == 0)
    {
        lose_link();
    }
}

// Notifications -------------------------------------------------------------------------------------------------------

std::optional<PostgresConnection::Notification> PostgresConnection::notification()
{
    struct Free
    {
        void operator()(PGnotify* notify) const noexcept { PQfreemem(notify); }
    };
    std::unique_ptr<PGnotify, Free> const notify(m_connection == nullptr ? nullptr : PQnotifies(m_connection.get()));
    return notify == nullptr ? std::nullopt
                             : std::optional(Notification{.channel = notify->relname, .text = notify->extra});
}

bool PostgresConnection::wait(Milliseconds most, int wake)
{
    if (m_connection == nullptr)
    {
        throw LibraryError(Kind::Unreachable, m_loss);
    }
    if (!is_ready(false, Clock::now() + most, wake))
    {
        return false;
    }
    take_input();
    return true;
}

// Failures ------------------------------------------------------------------------------------------------------------

PostgresError PostgresConnection::error_of(PostgresResult const& result) const
{
    auto const state = result.diagnosis(PG_DIAG_SQLSTATE);
    auto const kind = PostgresErrors::is_passing(state) ? Kind::Unreachable : Kind::Refused;
    return {kind,
            m_place + ": " + PostgresErrors::in_one_line(result.diagnosis(PG_DIAG_MESSAGE_PRIMARY)) +
                PostgresErrors::advice(state),
            state};
}

void PostgresConnection::fail(PostgresError const& failure)
{
    if (failure.kind() != Kind::Refused)
    {
        lose(failure.kind(), failure.what());
    }
    throw failure;
}

void PostgresConnection::lose_link()
{
    // The first line tells what happened, the others guess why.
    std::string_view const message = PQerrorMessage(m_connection.get());
    lose(Kind::Unreachable, m_place + ": " + PostgresErrors::in_one_line(message.substr(0, message.find('\n'))));
}

void PostgresConnection::lose(Kind kind, std::string const& why)
{
    m_connection.reset();
    m_loss = why;
    throw LibraryError(kind, why);
}

} // namespace Ravik
