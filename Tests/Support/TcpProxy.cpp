#include "Support/TcpProxy.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace Ravik::Test
{

namespace
{

sockaddr_in local(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    return address;
}

int stream()
{
    auto const socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    int const on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return socket;
}

} // namespace

TcpProxy::TcpProxy(int target) : m_target(target), m_listener(stream())
{
    auto address = local(0);
    socklen_t size = sizeof address;
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    if (bind(m_listener, any, size) != 0 || listen(m_listener, SOMAXCONN) != 0 ||
        getsockname(m_listener, any, &size) != 0 || pipe2(m_wakeup.data(), O_CLOEXEC | O_NONBLOCK) != 0)
    {
        throw std::runtime_error("the proxy finds no port");
    }
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { run(); });
}

TcpProxy::~TcpProxy()
{
    m_is_ending = true;
    set(Mode::Cut);
    m_thread.join();
    for (auto const file : {m_listener, m_wakeup[0], m_wakeup[1]})
    {
        close(file);
    }
}

void TcpProxy::set(Mode mode)
{
    m_mode = mode;
    static_cast<void>(write(m_wakeup[1], "", 1) == 1);
}

void TcpProxy::run()
{
    while (!m_is_ending)
    {
        auto const is_frozen = m_mode == Mode::Frozen;
        std::vector<pollfd> files{{.fd = m_wakeup[0], .events = POLLIN, .revents = 0},
                                  {.fd = is_frozen ? -1 : m_listener, .events = POLLIN, .revents = 0}};
        for (auto const& pair : m_pairs)
        {
            files.push_back({.fd = is_frozen ? -1 : pair.client, .events = POLLIN, .revents = 0});
            files.push_back({.fd = is_frozen ? -1 : pair.server, .events = POLLIN, .revents = 0});
        }
        poll(files.data(), files.size(), -1);
        std::array<char, 64> ignored{};
        static_cast<void>(read(m_wakeup[0], ignored.data(), ignored.size()));
        if (m_mode == Mode::Frozen)
        {
            continue;
        }
        std::vector<Pair> kept;
        for (std::size_t index = 0; index < m_pairs.size(); ++index)
        {
            auto const& pair = m_pairs[index];
            auto const goes_on =
                m_mode != Mode::Cut &&
                (files[2 * index + 2].revents == 0 || move(pair.client, pair.server, Mode::LosingRequest)) &&
                (files[2 * index + 3].revents == 0 || move(pair.server, pair.client, Mode::LosingAnswer));
            goes_on ? kept.push_back(pair) : close_pair(pair);
        }
        m_pairs = std::move(kept);
        if (files[1].revents != 0)
        {
            accept_client();
        }
    }
    for (auto const& pair : m_pairs)
    {
        close_pair(pair);
    }
}

void TcpProxy::accept_client()
{
    Pair const pair{.client = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC), .server = stream()};
    auto const address = local(m_target);
    if (m_mode == Mode::Cut || connect(pair.server, reinterpret_cast<sockaddr const*>(&address), sizeof address) != 0)
    {
        close_pair(pair);
        return;
    }
    m_pairs.push_back(pair);
}

bool TcpProxy::move(int from, int to, Mode losing)
{
    std::array<char, 65536> bytes{};
    auto const size = recv(from, bytes.data(), bytes.size(), 0);
    auto expected = losing;
    if (size <= 0 || m_mode.compare_exchange_strong(expected, Mode::Passing))
    {
        return false;
    }
    for (ssize_t sent = 0; sent < size;)
    {
        auto const part = send(to, bytes.data() + sent, static_cast<std::size_t>(size - sent), MSG_NOSIGNAL);
        if (part <= 0)
        {
            return false;
        }
        sent += part;
    }
    return true;
}

void TcpProxy::close_pair(Pair const& pair)
{
    close(pair.client);
    close(pair.server);
}

} // namespace Ravik::Test
