#include "Wire.h"

#include <cerrno>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace Ravik::Benchmark
{

namespace
{

constexpr int longest_wait_ms = 60'000;

[[noreturn]] void broken(char const* what)
{
    throw std::runtime_error(std::string("the connection to the server broke: ") + what);
}

void wait_for(int socket, short event)
{
    pollfd waited{.fd = socket, .events = event, .revents = 0};
    if (::poll(&waited, 1, longest_wait_ms) != 1)
    {
        broken("nothing came for a minute");
    }
}

int connected(std::uint16_t port)
{
    auto const socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(socket, reinterpret_cast<sockaddr const*>(&address), sizeof address) != 0)
    {
        ::close(socket);
        broken("it can't be made");
    }
    int const on = 1;
    ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return socket;
}

/// One for all, and nobody asks who the server is.
SSL_CTX* tls_context()
{
    static std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> const context(::SSL_CTX_new(::TLS_client_method()),
                                                                           &SSL_CTX_free);
    ::SSL_CTX_set_mode(context.get(), SSL_MODE_RELEASE_BUFFERS);
    return context.get();
}

} // namespace

Descriptor::~Descriptor()
{
    ::close(m_number);
}

Wire::Wire(std::uint16_t port, Encryption encryption) : m_socket(connected(port))
{
    if (encryption == Encryption::tls)
    {
        m_session.reset(::SSL_new(tls_context()));
        ::SSL_set_fd(m_session.get(), *m_socket);
        if (::SSL_connect(m_session.get()) != 1)
        {
            broken("TLS does not come about");
        }
    }
    ::fcntl(*m_socket, F_SETFL, ::fcntl(*m_socket, F_GETFL) | O_NONBLOCK);
}

void Wire::send(std::string_view bytes)
{
    while (!bytes.empty())
    {
        auto const size = static_cast<int>(bytes.size());
        auto const sent = m_session ? ::SSL_write(m_session.get(), bytes.data(), size)
                                    : static_cast<int>(::send(*m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL));
        if (sent > 0)
        {
            bytes.remove_prefix(static_cast<std::size_t>(sent));
            continue;
        }
        if (m_session ? ::SSL_get_error(m_session.get(), sent) != SSL_ERROR_WANT_WRITE : errno != EAGAIN)
        {
            broken("it takes nothing more");
        }
        wait_for(*m_socket, POLLOUT);
    }
}

void Wire::receive(std::string& input)
{
    std::array<char, 16'384> piece; // NOLINT(*-member-init): what is read of it has been written
    while (true)
    {
        auto const count = m_session ? ::SSL_read(m_session.get(), piece.data(), static_cast<int>(piece.size()))
                                     : static_cast<int>(::recv(*m_socket, piece.data(), piece.size(), 0));
        if (count <= 0)
        {
            if (m_session ? ::SSL_get_error(m_session.get(), count) != SSL_ERROR_WANT_READ
                          : count == 0 || errno != EAGAIN)
            {
                broken("the server closed it");
            }
            return;
        }
        input.append(piece.data(), static_cast<std::size_t>(count));
        if (!m_session && static_cast<std::size_t>(count) < piece.size())
        {
            return;
        }
    }
}

void Wire::wait()
{
    wait_for(*m_socket, POLLIN);
}

Readiness::Readiness() : m_epoll(::epoll_create1(EPOLL_CLOEXEC))
{
}

void Readiness::add(Wire const& wire, std::size_t number)
{
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = number;
    if (::epoll_ctl(*m_epoll, EPOLL_CTL_ADD, wire.descriptor(), &event) != 0)
    {
        throw std::runtime_error("too many connections for this machine");
    }
}

std::size_t Readiness::collect(int milliseconds)
{
    auto const count = ::epoll_wait(*m_epoll, m_events.data(), static_cast<int>(m_events.size()), milliseconds);
    return count < 0 ? 0 : static_cast<std::size_t>(count);
}

} // namespace Ravik::Benchmark
