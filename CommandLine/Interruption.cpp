#include "Interruption.h"

namespace Ravik::CommandLine
{

namespace
{

std::atomic<bool> interrupted = false;
// What a signal handler may touch.
static_assert(std::atomic<bool>::is_always_lock_free);

extern "C" void set_mark(int /*signal*/)
{
    interrupted = true;
}

} // namespace

Interruption::Interruption()
{
    interrupted = false;
    struct sigaction action = {};
    action.sa_handler = set_mark; // NOLINT(cppcoreguidelines-pro-type-union-access): as the interface is
    action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
    // They fail for signals that do not exist, and for nothing else.
    static_cast<void>(::sigaction(SIGINT, &action, &m_interrupt));
    static_cast<void>(::sigaction(SIGTERM, &action, &m_terminate));
}

Interruption::~Interruption()
{
    static_cast<void>(::sigaction(SIGINT, &m_interrupt, nullptr));
    static_cast<void>(::sigaction(SIGTERM, &m_terminate, nullptr));
}

std::atomic<bool> const& Interruption::mark() const noexcept
{
    return interrupted;
}

} // namespace Ravik::CommandLine
