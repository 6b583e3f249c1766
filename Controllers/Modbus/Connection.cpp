#include "Connection.h"

#include <cerrno>
#include <string>
#include <system_error>

#include <poll.h>
#include <sys/socket.h>

namespace Modbus
{

namespace
{

/// An answer that comes within this time is looked for over and over: to sleep and be woken takes as long as a device
/// nearby takes to answer.
constexpr std::chrono::microseconds promptly{200};

bool would_block(int error)
{
    return error == EAGAIN || error == EWOULDBLOCK;
}

} // namespace

Connection::Connection(Settings const& settings)
    : m_settings(settings), m_lookup(settings.host, std::to_string(settings.port))
{
}

bool Connection::is_fresh() const noexcept
{
    // What is there belongs to no request; an end tells that the device hung up.
    char byte = 0;
    return m_socket.is_open() && recv(m_socket.number(), &byte, 1, MSG_PEEK | MSG_DONTWAIT) < 0 && would_block(errno);
}

Outcome Connection::open(Deadline deadline)
{
    auto const unreachable = [&](std::string const& why) {
        return Outcome{ModbusResult::CONNECTION_REFUSED, "No connection to " + m_settings.device_name() + ": " + why};
    };
    auto const too_late = [&]
    {
        return Outcome{ModbusResult::TIMEOUT, "No connection to " + m_settings.device_name() + " within " +
                                                  std::to_string(m_settings.timeout.count()) + " ms"};
    };

    auto const found = m_lookup.find(deadline);
    if (!found)
    {
        return too_late();
    }
    if (found->error != 0)
    {
        return unreachable(gai_strerror(found->error));
    }
    int error = 0;
    m_socket = connect(*found->addresses, deadline, error);
    return m_socket.is_open()   ? Outcome()
           : error == ETIMEDOUT ? too_late()
                                : unreachable(std::generic_category().message(error));
}

int Connection::send(std::span<std::uint8_t const> bytes) noexcept
{
    auto const sent = ::send(m_socket.number(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    return sent < 0 ? errno : static_cast<std::size_t>(sent) == bytes.size() ? 0 : ENOBUFS;
}

Line::Received Connection::receive(std::span<std::uint8_t> room, Deadline deadline) noexcept
{
    auto const start = Deadline::clock::now();
    auto const looks_until = m_is_prompt ? start + promptly : start;
    for (;;)
    {
        // Often it is there already: what was done since the request was sent took its time.
        auto const size = recv(m_socket.number(), room.data(), room.size(), 0);
        if (size > 0)
        {
            m_is_prompt = Deadline::clock::now() - start < promptly;
            return {.size = static_cast<std::size_t>(size)};
        }
        if (size == 0)
        {
            return {.error = ECONNRESET};
        }
        if (would_block(errno))
        {
            if (Deadline::clock::now() < looks_until)
            {
                continue;
            }
            if (int const error = wait_for(m_socket, POLLIN, deadline); error != 0)
            {
                return {.error = error};
            }
        }
        else if (errno != EINTR)
        {
            return {.error = errno};
        }
    }
}

} // namespace Modbus
