#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

namespace Ravik::CommandLine
{

/// A line on standard error that tells how far a long command has come. Shown on a terminal only, and only once the
/// command has taken a while.
class Progress
{
public:
    explicit Progress(std::string what);

    void show(std::size_t done, std::size_t total);
    /// The same as a function, which must not outlive it.
    std::function<void(std::size_t done, std::size_t total)> follow()
    {
        return [this](std::size_t done, std::size_t total) { show(done, total); };
    }
    /// Takes the line away.
    void clear();

private:
    std::string m_what;
    bool m_terminal;
    bool m_shown = false;
    std::chrono::steady_clock::time_point m_next;
};

} // namespace Ravik::CommandLine
