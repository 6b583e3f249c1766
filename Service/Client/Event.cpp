#include "Client/Event.h"

#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>

namespace Ravik::Wire
{

Event::Event() : m_descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (!m_descriptor.is_open())
    {
        throw std::system_error(errno, std::generic_category(), "the system has no event left");
    }
}

void Event::raise() const noexcept
{
    static_cast<void>(::eventfd_write(descriptor(), 1));
}

bool Event::wait(std::chrono::milliseconds patience) const noexcept
{
    pollfd polled{.fd = descriptor(), .events = POLLIN, .revents = 0};
    eventfd_t count = 0;
    return ::poll(&polled, 1, static_cast<int>(patience.count())) > 0 && ::eventfd_read(descriptor(), &count) == 0;
}

} // namespace Ravik::Wire
