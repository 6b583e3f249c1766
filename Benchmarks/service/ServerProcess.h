#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

namespace Ravik::Benchmark
{

/// A server that runs as a process of its own, which ends with this.
class ServerProcess
{
public:
    /// Starts the program with its standard error, which says where it listens, in the file `log`. Throws where it
    /// does not come to that.
    ServerProcess(std::vector<std::string> const& command, std::filesystem::path const& log);
    ServerProcess(ServerProcess const&) = delete;
    ServerProcess& operator=(ServerProcess const&) = delete;
    ~ServerProcess();

    std::uint16_t port() const noexcept { return m_port; }
    /// The processor time of the process so far, in seconds, the kernel's for it included.
    double processor_seconds() const;
    /// The memory that it has to itself now, in kB.
    long private_memory() const;

private:
    pid_t m_process = 0;
    clockid_t m_clock = 0;
    std::uint16_t m_port = 0;
};

/// Runs a program to its end and returns what it wrote on standard output; throws where it fails.
std::string output_of(std::string const& command);

} // namespace Ravik::Benchmark
