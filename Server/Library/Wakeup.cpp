#include "Library/Wakeup.h"

#include <cerrno>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace Ravik
{

Wakeup::Wakeup() : m_descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (m_descriptor < 0)
    {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
}

Wakeup::~Wakeup()
{
    ::close(m_descriptor);
}

void Wakeup::ring() const noexcept
{
    std::uint64_t const one = 1;
    // It can only fail where it was rung more often than anybody counts: then it can be read anyway.
    static_cast<void>(!::write(m_descriptor, &one, sizeof one));
}

void Wakeup::reset() const noexcept
{
    std::uint64_t count = 0;
    static_cast<void>(!::read(m_descriptor, &count, sizeof count));
}

void Wakeup::wait(std::chrono::milliseconds most) const noexcept
{
    pollfd entry{.fd = m_descriptor, .events = POLLIN, .revents = 0};
    ::poll(&entry, 1, static_cast<int>(most.count()));
}

} // namespace Ravik
