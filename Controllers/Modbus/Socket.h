#pragma once

#include "Deadline.h"

#include <utility>

#include <netdb.h>

namespace Modbus
{

/// Owns the number of an open socket.
class Socket
{
public:
    Socket() = default;
    explicit Socket(int number) noexcept : m_number(number) {}
    Socket(Socket&& other) noexcept : m_number(other.release()) {}
    Socket& operator=(Socket&& other) noexcept
    {
        std::swap(m_number, other.m_number);
        return *this;
    }
    Socket(Socket const&) = delete;
    Socket& operator=(Socket const&) = delete;
    ~Socket();

    bool is_open() const noexcept { return m_number >= 0; }
    int number() const noexcept { return m_number; }
    /// Hands the number over to the caller.
    int release() noexcept { return std::exchange(m_number, -1); }

private:
    int m_number = -1;
};

/// Connects to the first of the addresses that takes the connection before the deadline, all of them together. Without
/// success the socket is not open and `error` tells why: `ETIMEDOUT`, or what the last address answered. The socket
/// does not block and sends without delay.
[[nodiscard]] Socket connect(addrinfo const& addresses, Deadline deadline, int& error);

/// Waits for one of the `events` of poll; returns 0, `ETIMEDOUT` at the deadline, or why it can't wait.
[[nodiscard]] int wait_for(Socket const& socket, short events, Deadline deadline) noexcept;

} // namespace Modbus
