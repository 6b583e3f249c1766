#include "KilledProcess.h"

#include "Configuration/store_care.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <iostream>
#include <random>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace Ravik::Test
{

namespace
{

[[noreturn]] void work_in_copy(KilledProcess const& process, std::array<int, 2> const& pipe_ends)
{
    close(pipe_ends[0]);
    try
    {
        process.work([&](int number) { return write(pipe_ends[1], &number, sizeof number) == sizeof number; });
        _exit(EXIT_SUCCESS);
    }
    catch (std::exception const& error)
    {
        std::fputs(error.what(), stderr);
    }
    _exit(EXIT_FAILURE);
}

/// A copy of this process, which is killed with it at the latest.
class Copy
{
public:
    explicit Copy(pid_t process) noexcept : m_process(process) {}
    Copy(Copy const&) = delete;
    Copy& operator=(Copy const&) = delete;
    ~Copy()
    {
        if (m_process > 0)
        {
            static_cast<void>(end());
        }
    }

    bool is_this() const noexcept { return m_process == 0; }
    /// Kills it and returns how it ended.
    int end()
    {
        kill(m_process, SIGKILL);
        int status = 0;
        waitpid(m_process, &status, 0);
        m_process = -1;
        return status;
    }

private:
    pid_t m_process;
};

} // namespace

int KilledProcess::run(int last) const
{
    std::array<int, 2> pipe_ends{};
    if (pipe(pipe_ends.data()) != 0)
    {
        throw std::runtime_error("no pipe could be made");
    }
    Copy copy(fork());
    if (copy.is_this())
    {
        work_in_copy(*this, pipe_ends);
    }
    close(pipe_ends[1]);
    int number = last;
    for (int count = 0; count < wanted && read(pipe_ends[0], &number, sizeof number) == sizeof number; ++count)
    {
        if (acknowledged)
        {
            acknowledged(number);
        }
    }
    auto const seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    timespec const moment{.tv_sec = seconds.count(), .tv_nsec = (time - seconds).count()};
    nanosleep(&moment, nullptr);
    auto const status = copy.end();
    while (read(pipe_ends[0], &number, sizeof number) == sizeof number)
    {
    }
    close(pipe_ends[0]);
    if (!WIFSIGNALED(status) && (wanted != 0 || !WIFEXITED(status) || WEXITSTATUS(status) != EXIT_SUCCESS))
    {
        throw std::runtime_error("the process failed before it was killed");
    }
    return number;
}

std::chrono::nanoseconds some_time(std::chrono::nanoseconds limit, std::mt19937& random)
{
    return std::chrono::nanoseconds(std::uniform_int_distribution<std::int64_t>(0, limit.count())(random));
}

void expect(bool holds, std::string const& what)
{
    if (!holds)
    {
        throw std::runtime_error(what);
    }
}

void expect_whole(std::filesystem::path const& store)
{
    auto const report = check_store(store, std::chrono::seconds(0));
    expect(report.is_whole(), store.string() + ": " + (report.is_whole() ? "" : report.faults.front()));
}

int run_kills(char const* name, int argc, char** argv, int (*run)(int kills, unsigned seed))
{
    auto const seed = argc > 2 ? static_cast<unsigned>(std::strtoul(argv[2], nullptr, 10)) : std::random_device{}();
    try
    {
        return run(argc > 1 ? std::stoi(argv[1]) : 15, seed);
    }
    catch (std::exception const& error)
    {
        std::cerr << name << ": " << error.what() << "\nThe seed was " << seed << '\n';
        return EXIT_FAILURE;
    }
}

} // namespace Ravik::Test
