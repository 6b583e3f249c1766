#include "Support/PostgresServer.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <grp.h>
#include <netinet/in.h>
#include <poll.h>
#include <pwd.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace Ravik::Test
{

namespace
{

namespace fs = std::filesystem;

/// PostgreSQL refuses to run as root.
passwd const* user_of_server()
{
    return geteuid() == 0 ? getpwnam("nobody") : nullptr;
}

fs::path programs()
{
    // The newest version that is there.
    fs::path newest;
    std::error_code ignored;
    for (auto const& version : fs::directory_iterator("/usr/lib/postgresql", ignored))
    {
        auto const folder = version.path() / "bin";
        newest = fs::exists(folder / "initdb") && folder > newest ? folder : newest;
    }
    if (newest.empty())
    {
        throw std::runtime_error("PostgreSQL's server is missing: apt-get install postgresql (at least postgresql-15), "
                                 "or ./dev test all");
    }
    return newest;
}

/// What the child does between fork and exec; it allocates nothing.
[[noreturn]] void become(passwd const* user, char* const* arguments, int output, int signal, pid_t parent)
{
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    if (user != nullptr && (setgroups(0, nullptr) != 0 || setgid(user->pw_gid) != 0 || setuid(user->pw_uid) != 0))
    {
        _exit(126);
    }
    // After the user, whose change would undo it.
    prctl(PR_SET_PDEATHSIG, signal);
    if (getppid() != parent)
    {
        _exit(126);
    }
    execvp(arguments[0], arguments);
    _exit(127);
}

pid_t spawn(std::vector<std::string> arguments, int output, int signal)
{
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (auto& argument : arguments)
    {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    auto const* const user = user_of_server();
    auto const parent = getpid();
    auto const process = fork();
    if (process < 0)
    {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (process == 0)
    {
        become(user, pointers.data(), output, signal, parent);
    }
    return process;
}

/// The data folder that all others are copied from; making one anew takes longer.
fs::path const& template_folder()
{
    static TemporaryFolder const folder;
    static fs::path const made = []
    {
        PostgresServer::hand_over(folder.path());
        PostgresServer::run_program({programs() / "initdb", "-D", folder.path() / "data", "-A", "trust", "-U",
                                     "postgres", "-E", "UTF8", "--locale=C", "--no-sync", "--wal-segsize=1"});
        return folder.path() / "data";
    }();
    return made;
}

} // namespace

int free_port()
{
    auto const socket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    auto const failed = bind(socket, any, size) != 0 || getsockname(socket, any, &size) != 0;
    close(socket);
    if (failed)
    {
        throw std::runtime_error("no port is free");
    }
    return ntohs(address.sin_port);
}

PostgresServer::PostgresServer(Options const& options) : m_port(free_port())
{
    auto const* const durable = options.is_durable ? "on" : "off";
    hand_over(m_folder.path());
    run_program({"cp", "-r", "--preserve=mode", template_folder(), data()});
    write("data/postgresql.conf",
          "listen_addresses = '127.0.0.1'\nunix_socket_directories = '" + m_folder.path().string() +
              "'\nport = " + std::to_string(m_port) + "\nfsync = " + durable + "\nfull_page_writes = " + durable +
              "\nshared_buffers = 32MB\nmax_connections = 300\n" + options.configuration + "\n");
    write("data/pg_hba.conf", options.access + "\nlocal all all trust\nhost all all 127.0.0.1/32 trust\n");
    start();
}

PostgresServer::~PostgresServer()
{
    stop(How::Immediate);
}

void PostgresServer::start()
{
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    auto const run = [this] { m_process = start_program({programs() / "postgres", "-D", data()}, log(), SIGQUIT); };
    for (run(); PQping(settings().c_str()) != PQPING_OK; poll(nullptr, 0, 10))
    {
        auto const has_ended = waitpid(m_process, nullptr, WNOHANG) != 0;
        // The processes of a postmaster that was killed end by themselves, and keep the data folder until then.
        if (std::chrono::steady_clock::now() > deadline || (has_ended && !m_was_killed))
        {
            m_process = has_ended ? -1 : m_process;
            throw std::runtime_error("PostgreSQL does not start:\n" + content_of(log()));
        }
        has_ended ? run() : void();
    }
    m_was_killed = false;
}

void PostgresServer::stop(How how)
{
    if (m_process <= 0)
    {
        return;
    }
    m_was_killed = how == How::Killed;
    auto const number = std::to_string(m_process);
    std::ifstream children("/proc/" + number + "/task/" + number + "/children");
    std::vector<pid_t> const sessions(std::istream_iterator<pid_t>(children), {});
    kill(m_process, how == How::Fast ? SIGINT : how == How::Immediate ? SIGQUIT : SIGKILL);
    for (auto const session : m_was_killed ? sessions : std::vector<pid_t>())
    {
        kill(session, SIGKILL);
    }
    waitpid(m_process, nullptr, 0);
    m_process = -1;
}

void PostgresServer::save()
{
    run_program({"cp", "-r", "--preserve=mode", data(), m_folder.path() / "saved"});
}

void PostgresServer::restore()
{
    fs::remove_all(data());
    run_program({"cp", "-r", "--preserve=mode", m_folder.path() / "saved", data()});
}

std::string PostgresServer::settings(std::string const& database, std::string const& user) const
{
    return "host=127.0.0.1 port=" + std::to_string(m_port) + " user=" + user + " dbname=" + database;
}

void PostgresServer::configure(std::string const& lines) const
{
    std::ofstream(data() / "postgresql.conf", std::ios::app) << lines << '\n';
}

std::string PostgresServer::Session::run(std::string const& sql) const
{
    std::unique_ptr<PGresult, decltype(&PQclear)> const result(PQexec(m_connection.get(), sql.c_str()), &PQclear);
    auto const status = PQresultStatus(result.get());
    if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK)
    {
        throw std::runtime_error(sql + ": " + PQerrorMessage(m_connection.get()));
    }
    std::string text;
    for (int row = 0; row < PQntuples(result.get()); ++row)
    {
        text += row == 0 ? "" : "\n";
        for (int column = 0; column < PQnfields(result.get()); ++column)
        {
            text.append(column == 0 ? "" : "|").append(PQgetvalue(result.get(), row, column));
        }
    }
    return text;
}

std::string PostgresServer::make_database(std::string const& name, std::string const& how) const
{
    run("CREATE DATABASE \"" + name + "\" " + how);
    return settings(name);
}

std::filesystem::path PostgresServer::write(std::string const& name, std::string const& content) const
{
    auto file = m_folder.write(name, content);
    fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write);
    hand_over(file);
    return file;
}

std::string PostgresServer::run_program(std::vector<std::string> const& arguments)
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
    {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    auto const process = spawn(arguments, ends[1], SIGKILL);
    close(ends[1]);
    std::string output;
    std::array<char, 4096> part{};
    for (auto size = read(ends[0], part.data(), part.size()); size > 0; size = read(ends[0], part.data(), part.size()))
    {
        output.append(part.data(), static_cast<std::size_t>(size));
    }
    close(ends[0]);
    int status = 0;
    waitpid(process, &status, 0);
    if (status != 0)
    {
        throw std::runtime_error(arguments.front() + " failed: " + output);
    }
    return output;
}

pid_t PostgresServer::start_program(std::vector<std::string> const& arguments, std::filesystem::path const& output,
                                    int signal)
{
    auto const log = open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    auto const process = spawn(arguments, log, signal);
    close(log);
    return process;
}

void PostgresServer::hand_over(std::filesystem::path const& file)
{
    auto const* const user = user_of_server();
    if (user != nullptr && chown(file.c_str(), user->pw_uid, user->pw_gid) != 0)
    {
        throw std::system_error(errno, std::generic_category(), "chown " + file.string());
    }
}

} // namespace Ravik::Test
