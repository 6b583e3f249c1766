#include "Socket.h"

#include <cerrno>
#include <ctime>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Modbus
{

namespace
{

/// Waits until the connection stands; 0, or why it does not.
int wait_for_connection(Socket const& socket, Deadline deadline)
{
    if (int const failed = wait_for(socket, POLLOUT, deadline); failed != 0)
    {
        return failed;
    }
    int error = 0;
    socklen_t size = sizeof error;
    return getsockopt(socket.number(), SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

int count(addrinfo const& addresses)
{
    int number = 0;
    for (auto const* address = &addresses; address != nullptr; address = address->ai_next)
    {
        ++number;
    }
    return number;
}

} // namespace

Socket::~Socket()
{
    if (is_open())
    {
        ::close(m_number);
    }
}

Socket connect(addrinfo const& addresses, Deadline deadline, int& error)
{
    auto left = count(addresses);
    for (auto const* address = &addresses; address != nullptr; address = address->ai_next, --left)
    {
        // An address that swallows everything leaves time for the ones behind it.
        auto const now = Deadline::clock::now();
        auto const turn_ends = now + (deadline - now) / left;
        Socket socket(
            ::socket(address->ai_family, address->ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, address->ai_protocol));
        if (!socket.is_open())
        {
            error = errno;
            continue;
        }
        int const on = 1;
        setsockopt(socket.number(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        error = ::connect(socket.number(), address->ai_addr, address->ai_addrlen) == 0 ? 0 : errno;
        if (error == EINPROGRESS || error == EINTR)
        {
            error = wait_for_connection(socket, turn_ends);
        }
        if (error == 0)
        {
            return socket;
        }
    }
    return {};
}

int wait_for(Socket const& socket, short events, Deadline deadline) noexcept
{
    for (;;)
    {
        auto const left = deadline - Deadline::clock::now();
        if (left <= Deadline::duration::zero())
        {
            return ETIMEDOUT;
        }
        auto const seconds = std::chrono::floor<std::chrono::seconds>(left);
        auto const rest = std::chrono::nanoseconds(left - seconds);
        timespec const limit = {.tv_sec = seconds.count(), .tv_nsec = rest.count()};
        pollfd waiting = {.fd = socket.number(), .events = events, .revents = 0};
        auto const ready = ppoll(&waiting, 1, &limit, nullptr);
        if (ready > 0)
        {
            return 0;
        }
        if (ready < 0 && errno != EINTR)
        {
            return errno;
        }
    }
}

} // namespace Modbus
