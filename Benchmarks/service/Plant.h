#pragma once

#include "ServerProcess.h"

#include "Support/TemporaryFolder.h"

#include <memory>
#include <string>
#include <vector>

namespace Ravik::Benchmark
{

enum class Encryption
{
    none,
    tls,
};

/// A project with recipes of 100 values, symbols that change with each poll, and a device that is dead; served by a
/// `ravik serve` of its own.
class Plant
{
public:
    static constexpr int recipes = 100;
    static constexpr int values = 100;
    /// How long a request of the dead device takes until it fails.
    static constexpr std::chrono::milliseconds hangs{5000};

    /// Makes so many tokens, of engineers, and starts the service.
    Plant(Encryption encryption, int tokens);

    ServerProcess& server() noexcept { return *m_server; }
    std::vector<std::string> const& tokens() const noexcept { return m_tokens; }
    std::filesystem::path const& path() const noexcept { return m_folder.path(); }

    static std::string recipe(int number);
    /// A symbol that changes with each poll, to when it was read in microseconds of the monotonic clock; number 0 to
    /// how often the device was asked.
    static std::string symbol(int number);
    /// A symbol of the dead device, of which there are four, and a recipe of it alone.
    static std::string dead_symbol(int number);
    static std::string dead_recipe(int number);

private:
    Test::TemporaryFolder m_folder;
    std::vector<std::string> m_tokens;
    std::unique_ptr<ServerProcess> m_server;
};

} // namespace Ravik::Benchmark
