#pragma once

#include "Support/TemporaryFolder.h"

#include <filesystem>
#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

#include <libpq-fe.h>

namespace Ravik::Test
{

/// Debian's PostgreSQL for a test: in a temporary folder, on 127.0.0.1 with a port of its own and on a Unix socket, as
/// the user nobody where the test runs as root. It ends with the test, however that ends. Failures are thrown.
class PostgresServer
{
public:
    struct Options
    {
        /// Whether it waits for the medium.
        bool is_durable = false;
        /// Lines of postgresql.conf.
        std::string configuration{};
        /// Lines of pg_hba.conf before the one that trusts everybody.
        std::string access{};
    };

    /// Makes the database and starts it.
    explicit PostgresServer(Options const& options);
    PostgresServer() : PostgresServer(Options{}) {}
    PostgresServer(PostgresServer const&) = delete;
    PostgresServer& operator=(PostgresServer const&) = delete;
    ~PostgresServer();

    /// Starts it again, on the same port.
    void start();
    enum class How
    {
        /// Connections are ended, and everything is written.
        Fast,
        /// As after a failure of power, but in order.
        Immediate,
        /// With SIGKILL, its processes alike.
        Killed,
    };
    void stop(How how = How::Fast);

    /// Adds lines to postgresql.conf, for the next start.
    void configure(std::string const& lines) const;
    /// Keeps a copy of everything, and puts it in the place of what is there now. The server must not run.
    void save();
    void restore();

    std::string settings(std::string const& database = "postgres", std::string const& user = "postgres") const;
    int port() const noexcept { return m_port; }
    pid_t process() const noexcept { return m_process; }
    std::filesystem::path const& folder() const noexcept { return m_folder.path(); }

    /// A session of the database's owner.
    class Session
    {
    public:
        explicit Session(std::string const& settings) : m_connection(PQconnectdb(settings.c_str()), &PQfinish) {}
        /// Runs statements; returns the last one's rows, a line each, columns separated by '|'.
        std::string run(std::string const& sql) const;

    private:
        std::unique_ptr<PGconn, decltype(&PQfinish)> m_connection;
    };
    std::string run(std::string const& sql, std::string const& database = "postgres") const
    {
        return Session(settings(database)).run(sql);
    }
    /// Makes a database and returns its settings. `how` is what stands behind CREATE DATABASE and the name.
    std::string make_database(std::string const& name, std::string const& how = "") const;

    /// Writes a file that belongs to the server's user and nobody else can read.
    std::filesystem::path write(std::string const& name, std::string const& content) const;
    /// Runs a program as the server's user and waits for it; returns what it printed. One that fails is thrown.
    static std::string run_program(std::vector<std::string> const& arguments);
    /// Starts a program as the server's user; it ends with this one by the signal. Its output goes to the file.
    static pid_t start_program(std::vector<std::string> const& arguments, std::filesystem::path const& output,
                               int signal);
    /// Has the file belong to the server's user.
    static void hand_over(std::filesystem::path const& file);

private:
    std::filesystem::path data() const { return m_folder.path() / "data"; }
    std::filesystem::path log() const { return m_folder.path() / "log"; }

    TemporaryFolder m_folder;
    int m_port;
    pid_t m_process = -1;
    bool m_was_killed = false;
};

/// A port of 127.0.0.1 that nobody listens at.
int free_port();

} // namespace Ravik::Test
