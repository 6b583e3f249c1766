#include "ServerProcess.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <optional>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace Ravik::Benchmark
{

namespace
{

constexpr auto start_time = std::chrono::seconds(30);
constexpr auto pause = std::chrono::milliseconds(20);

pid_t spawn(std::vector<std::string> command, std::filesystem::path const& log)
{
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (auto& argument : command)
    {
        arguments.push_back(argument.data());
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, log.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND,
                                       0600);
    pid_t process = 0;
    auto const error = ::posix_spawn(&process, arguments.front(), &actions, nullptr, arguments.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
    {
        throw std::runtime_error("can't start " + command.front());
    }
    return process;
}

/// The port that the log tells of, once it does.
std::optional<std::uint16_t> port_in(std::filesystem::path const& log)
{
    std::ifstream file(log);
    for (std::string line; std::getline(file, line);)
    {
        auto const place = line.find("Listening on ");
        if (place != std::string::npos && !file.eof())
        {
            return static_cast<std::uint16_t>(std::stoul(line.substr(line.rfind(':') + 1)));
        }
    }
    return std::nullopt;
}

std::uint16_t wait_for_port(pid_t process, std::filesystem::path const& log)
{
    auto const end = std::chrono::steady_clock::now() + start_time;
    while (std::chrono::steady_clock::now() < end && ::waitpid(process, nullptr, WNOHANG) == 0)
    {
        if (auto const port = port_in(log))
        {
            return *port;
        }
        std::this_thread::sleep_for(pause);
    }
    ::kill(process, SIGKILL);
    std::ifstream file(log);
    throw std::runtime_error("the server does not listen: " + std::string{std::istreambuf_iterator<char>(file), {}});
}

} // namespace

ServerProcess::ServerProcess(std::vector<std::string> const& command, std::filesystem::path const& log)
    : m_process(spawn(command, log)), m_port(wait_for_port(m_process, log))
{
    ::clock_getcpuclockid(m_process, &m_clock);
}

ServerProcess::~ServerProcess()
{
    ::kill(m_process, SIGTERM);
    ::waitpid(m_process, nullptr, 0);
}

double ServerProcess::processor_seconds() const
{
    timespec time{};
    if (::clock_gettime(m_clock, &time) != 0)
    {
        throw std::runtime_error("the server has ended");
    }
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

long ServerProcess::private_memory() const
{
    std::ifstream file("/proc/" + std::to_string(m_process) + "/smaps_rollup");
    long sum = 0;
    for (std::string line; std::getline(file, line);)
    {
        if (line.starts_with("Private_Dirty:") || line.starts_with("Private_Clean:"))
        {
            sum += std::stol(line.substr(line.find(':') + 1));
        }
    }
    if (sum == 0)
    {
        throw std::runtime_error("the server's memory can't be read");
    }
    return sum;
}

std::string output_of(std::string const& command)
{
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(::popen(command.c_str(), "r"), &::pclose);
    std::string output;
    std::array<char, 4096> piece{};
    while (auto const count = pipe ? std::fread(piece.data(), 1, piece.size(), pipe.get()) : 0)
    {
        output.append(piece.data(), count);
    }
    if (!pipe || ::pclose(pipe.release()) != 0)
    {
        throw std::runtime_error("failed: " + command);
    }
    return output;
}

} // namespace Ravik::Benchmark
