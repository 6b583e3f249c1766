#include "Configuration/postgres_membership.h"

#include "Configuration/postgres_errors.h"
#include "Configuration/postgres_time.h"

#include <optional>
#include <xxhash.h>

namespace Ravik::PostgresMembership
{

namespace
{

using std::chrono::milliseconds;

constexpr auto soon = PostgresConnection::soon;

[[noreturn]] void refuse(std::string const& text)
{
    throw LibraryError(LibraryError::Kind::Refused, text);
}

/// As the view of all locks shows it.
std::int64_t shown(std::int32_t lock)
{
    return static_cast<std::uint32_t>(lock);
}

std::int64_t number_of(PostgresConnection& connection, PostgresSchema const& schema, LibraryServer const& server)
{
    auto select = PostgresStatement(schema.in("SELECT number FROM {servers} WHERE name = $1 AND store = $2"));
    auto const found = connection.run(select.text(server.name).text(server.store), soon);
    if (found.rows() == 0)
    {
        refuse("the library in " + connection.place() + " does not know this project's store as the server '" +
               server.name +
               "': it was struck off, or its name was given to another one; 'ravik library join' joins "
               "again");
    }
    return found.number(0, 0);
}

struct Holder
{
    std::int64_t backend = 0;
    std::string address;
    bool is_of_process = false;
};

std::optional<Holder> find_holder(PostgresConnection& connection, std::int32_t library, std::int32_t process,
                                  std::int64_t number)
{
    auto select = PostgresStatement(R"(
        SELECT held.pid, coalesce(host(client_addr), ''),
            EXISTS (SELECT FROM pg_locks AS mark WHERE mark.pid = held.pid AND mark.locktype = 'advisory'
                AND mark.objsubid = 2 AND mark.classid = $2::oid AND mark.objid = $3::oid)
        FROM pg_locks AS held
        LEFT JOIN pg_stat_activity ON pg_stat_activity.pid = held.pid
        WHERE locktype = 'advisory' AND objsubid = 2 AND classid = $1::oid AND objid = $3::oid AND granted
            AND database = (SELECT oid FROM pg_database WHERE datname = current_database()))");
    auto const found = connection.run(select.number(shown(library)).number(shown(process)).number(number), soon);
    if (found.rows() == 0)
    {
        return std::nullopt;
    }
    return Holder{
        .backend = found.number(0, 0), .address = std::string(found.text(0, 1)), .is_of_process = found.flag(0, 2)};
}

/// Takes the lock, and marks the connection as one of the process.
bool try_to_lock(PostgresConnection& connection, std::int32_t library, std::int32_t process, std::int64_t number)
{
    auto lock = PostgresStatement(
        "SELECT pg_try_advisory_lock($1::integer, $3::integer) AND pg_try_advisory_lock_shared($2::integer, "
        "$3::integer)");
    return connection.run(lock.number(library).number(process).number(number), soon).flag(0, 0);
}

} // namespace

std::int32_t locks_of(std::string_view owner)
{
    return static_cast<std::int32_t>(XXH3_64bits(owner.data(), owner.size()));
}

void hold_store(PostgresConnection& connection, PostgresSchema const& schema, std::string const& library,
                Library::Caller const& caller)
{
    // A process that has just ended, and a link that is just being ended, hold it a little longer.
    constexpr milliseconds most{2000};
    constexpr milliseconds pause{20};
    auto const number = number_of(connection, schema, caller.server);
    auto const of_library = locks_of(library);
    auto const of_process = locks_of(caller.process);
    std::optional<Holder> holder;
    for (auto waited = milliseconds(0); waited < most; waited += pause)
    {
        if (try_to_lock(connection, of_library, of_process, number))
        {
            return;
        }
        holder = find_holder(connection, of_library, of_process, number);
        if (holder && holder->is_of_process)
        {
            auto end = PostgresStatement("SELECT pg_terminate_backend($1::integer)");
            connection.run(end.number(holder->backend), soon);
        }
        static_cast<void>(connection.wait(pause, -1));
    }
    refuse("the store of '" + caller.server.name + "' is at work elsewhere, too (" +
           (holder && !holder->address.empty() ? "from " + holder->address : "on the database's own machine") +
           "); a copied store joins under a name of its own: 'ravik library join NAME'");
}

std::vector<LibraryServer> servers(PostgresConnection& connection, PostgresSchema const& schema)
{
    auto const rows =
        connection.run(PostgresStatement(schema.in("SELECT name, store FROM {servers} ORDER BY name")), soon);
    std::vector<LibraryServer> servers;
    servers.reserve(static_cast<std::size_t>(rows.rows()));
    for (int row = 0; row < rows.rows(); ++row)
    {
        servers.push_back({.name = std::string(rows.text(row, 0)), .store = std::string(rows.text(row, 1))});
    }
    return servers;
}

void enter(PostgresConnection& connection, PostgresSchema const& schema, LibraryServer const& server)
{
    // A store that had another name gives it up.
    auto rename = PostgresStatement(schema.in("UPDATE {servers} SET name = $1 WHERE store = $2 AND name <> $1"));
    auto add = PostgresStatement(schema.in("INSERT INTO {servers} (name, store) SELECT $1, $2 WHERE NOT EXISTS "
                                           "(SELECT FROM {servers} WHERE store = $2)"));
    try
    {
        connection.run({rename.text(server.name).text(server.store), add.text(server.name).text(server.store)}, soon);
    }
    catch (PostgresError const& error)
    {
        if (error.state() != PostgresErrors::already_there)
        {
            throw;
        }
        refuse("the library in " + connection.place() + " has a server '" + server.name +
               "' with another store; 'ravik library join NAME' joins under another name");
    }
}

void strike(PostgresConnection& connection, PostgresSchema const& schema, LibraryServer const& server)
{
    auto remove = PostgresStatement(schema.in("DELETE FROM {servers} WHERE name = $1 AND store = $2"));
    connection.run(remove.text(server.name).text(server.store), soon);
}

std::vector<LibraryPeer> peers(PostgresConnection& connection, PostgresSchema const& schema, std::string const& library)
{
    auto select = PostgresStatement("SELECT name, coalesce(host(client_addr), ''), coalesce(" +
                                    postgres_timestamp("backend_start") + schema.in(R"(, '')
        FROM pg_locks
        JOIN {servers} ON {servers}.number = objid::bigint
        LEFT JOIN pg_stat_activity ON pg_stat_activity.pid = pg_locks.pid
        WHERE locktype = 'advisory' AND objsubid = 2 AND classid = $1::oid AND granted
            AND database = (SELECT oid FROM pg_database WHERE datname = current_database())
        ORDER BY name)"));
    auto const rows = connection.run(select.number(shown(locks_of(library))), soon);
    std::vector<LibraryPeer> peers;
    peers.reserve(static_cast<std::size_t>(rows.rows()));
    for (int row = 0; row < rows.rows(); ++row)
    {
        peers.push_back({.name = std::string(rows.text(row, 0)),
                         .address = std::string(rows.text(row, 1)),
                         .since = std::string(rows.text(row, 2))});
    }
    return peers;
}

} // namespace Ravik::PostgresMembership
