#include "ServedLine.h"

#include "KilledProcess.h"
#include "library_project.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace Ravik::Test
{

namespace
{

/// What the child does; another thread of this process may have held any lock.
[[noreturn]] void become_server(char const* folder, int log, pid_t parent)
{
    dup2(log, STDOUT_FILENO);
    dup2(log, STDERR_FILENO);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (chdir(folder) == 0 && getppid() == parent)
    {
        execl(RAVIK_PROGRAM_FOLDER "/ravik", "ravik", "serve", "--listen", "127.0.0.1:0", nullptr);
    }
    _exit(127);
}

} // namespace

ServedLine::ServedLine(std::string name, std::string const& database, int database_port)
    : m_name(std::move(name)), m_line(database_port)
{
    write_project(folder(), {.postgresql = "host=127.0.0.1 port=" + std::to_string(m_line.port()) + " " + database});
}

void ServedLine::start()
{
    auto const text = folder().string();
    Wire::Descriptor const log(
        ::open((text + "/log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600)); // NOLINT(*-vararg)
    auto const parent = getpid();
    m_process = fork();
    if (m_process == 0)
    {
        become_server(text.c_str(), log.number(), parent);
    }
    expect(m_process > 0, "no process can be made");
}

void ServedLine::kill()
{
    if (is_running())
    {
        ::kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
        m_process = -1;
    }
}

void ServedLine::freeze() const
{
    ::kill(m_process, SIGSTOP);
}

void ServedLine::thaw() const
{
    ::kill(m_process, SIGCONT);
}

std::unique_ptr<Project> ServedLine::connect() const
{
    try
    {
        return RemoteProject::connect(folder(), {});
    }
    catch (ProjectError const&)
    {
        // It is ending, or has been killed while it said hello.
        return nullptr;
    }
}

std::unique_ptr<Project> ServedLine::reach() const
{
    std::unique_ptr<Project> project;
    auto const is_reached = eventually(std::chrono::seconds(60),
                                       [&]
                                       {
                                           project = connect();
                                           return project != nullptr;
                                       });
    expect(is_reached, m_name + " does not start: " + log());
    return project;
}

} // namespace Ravik::Test
