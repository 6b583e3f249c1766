#pragma once

#include "Plant.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <openssl/ssl.h>
#include <string>
#include <string_view>
#include <sys/epoll.h>

namespace Ravik::Benchmark
{

/// A file descriptor that is closed with this.
class Descriptor
{
public:
    explicit Descriptor(int number) noexcept : m_number(number) {}
    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;
    ~Descriptor();

    int operator*() const noexcept { return m_number; }

private:
    int m_number;
};

/// A client's connection to a server on this machine. Its operations throw where it breaks.
class Wire
{
public:
    Wire(std::uint16_t port, Encryption encryption);

    int descriptor() const noexcept { return *m_socket; }
    /// Returns once the system has taken all.
    void send(std::string_view bytes);
    /// Appends what has come by now, if anything.
    void receive(std::string& input);
    /// Waits until something comes or a minute is over, which throws.
    void wait();

private:
    Descriptor m_socket;
    std::unique_ptr<SSL, decltype(&SSL_free)> m_session{nullptr, &SSL_free};
};

/// Tells which of many wires have something to receive.
class Readiness
{
public:
    Readiness();

    void add(Wire const& wire, std::size_t number);
    /// Calls `ready` with the number of each, once each, after waiting for the first no longer than so many
    /// milliseconds.
    template <typename Ready> void wait(int milliseconds, Ready const& ready)
    {
        auto const count = collect(milliseconds);
        for (std::size_t place = 0; place < count; ++place)
        {
            ready(static_cast<std::size_t>(m_events[place].data.u64));
        }
    }

private:
    std::size_t collect(int milliseconds);

    Descriptor m_epoll;
    std::array<epoll_event, 256> m_events{};
};

} // namespace Ravik::Benchmark
