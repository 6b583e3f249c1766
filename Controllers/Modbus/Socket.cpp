#include "Socket.h"

#include <cerrno>

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
int wait_for_connection(int socket, Deadline deadline)
{
    for (;;)
    {
        auto const left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Deadline::clock::now()).count();
        if (left <= 0)
        {
            return ETIMEDOUT;
        }
        pollfd waiting = {.fd = socket, .events = POLLOUT, .revents = 0};
        auto const ready = poll(&waiting, 1, static_cast<int>(left));
        if (ready < 0 && errno != EINTR)
        {
            return errno;
        }
        if (ready > 0)
        {
            int error = 0;
            socklen_t size = sizeof error;
            return getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
        }
    }
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
            error = wait_for_connection(socket.number(), turn_ends);
        }
        if (error == 0)
        {
            return socket;
        }
    }
    return {};
}

} // namespace Modbus
