#pragma once

#include <atomic>
#include <csignal>

namespace Ravik::CommandLine
{

/// As long as it lives, Ctrl+C (and a request to end) only sets a mark; the second one ends the program as always.
/// There is one at a time.
class Interruption
{
public:
    Interruption();
    Interruption(Interruption const&) = delete;
    Interruption& operator=(Interruption const&) = delete;
    ~Interruption();

    std::atomic<bool> const& mark() const noexcept;

private:
    struct sigaction m_interrupt = {};
    struct sigaction m_terminate = {};
};

} // namespace Ravik::CommandLine
