#include "DatabaseProxy.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>

namespace Ravik::Test
{

namespace
{

/// What waits for its receiver: a sender that has more waits itself.
constexpr std::size_t most_unsent = 1 << 20;
/// How much of what was sent is looked at for words that came in pieces.
constexpr std::size_t longest_word = 16;

sockaddr_in local(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

sockaddr* plain(sockaddr_in& address)
{
    return reinterpret_cast<sockaddr*>(&address); // NOLINT(*-reinterpret-cast): as sockets take it
}

Wire::Descriptor tcp_socket(int options = 0)
{
    return Wire::Descriptor(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | options, 0));
}

void send_at_once(Wire::Descriptor const& socket)
{
    int const yes = 1;
    ::setsockopt(socket.number(), IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
}

/// Reads what has come; false where nothing comes any more.
bool receive(Wire::Descriptor const& socket, std::string& bytes)
{
    std::array<char, 65536> buffer; // NOLINT(*-member-init): filled by the next line
    auto const count = ::recv(socket.number(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    bytes.assign(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return count > 0 || (count < 0 && (errno == EAGAIN || errno == EINTR));
}

/// Sends what goes; false where nothing is taken any more.
bool send(Wire::Descriptor const& socket, std::string& bytes)
{
    auto const count = ::send(socket.number(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    bytes.erase(0, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return count >= 0 || errno == EAGAIN || errno == EINTR;
}

} // namespace

DatabaseProxy::DatabaseProxy(int database_port) : m_listening(tcp_socket(SOCK_NONBLOCK)), m_database_port(database_port)
{
    auto address = local(0);
    socklen_t size = sizeof address;
    if (::bind(m_listening.number(), plain(address), size) != 0 || ::listen(m_listening.number(), SOMAXCONN) != 0 ||
        ::getsockname(m_listening.number(), plain(address), &size) != 0)
    {
        throw std::runtime_error("the proxy gets no port");
    }
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { run(); });
}

DatabaseProxy::~DatabaseProxy()
{
    m_is_ending = true;
    m_wakeup.ring();
    m_thread.join();
}

void DatabaseProxy::set(Line line)
{
    m_line = line;
    m_wakeup.ring();
}

void DatabaseProxy::lose_answer()
{
    m_loses_answer = true;
    m_wakeup.ring();
}

bool DatabaseProxy::goes_through(bool to_database) const noexcept
{
    auto const line = m_line.load();
    return line == Line::Whole || (to_database ? line == Line::Mute : line == Line::Deaf);
}

void DatabaseProxy::run()
{
    while (!m_is_ending)
    {
        wait();
        m_wakeup.reset();
        accept();
        if (m_line == Line::Cut)
        {
            m_links.clear();
        }
        std::for_each(m_links.begin(), m_links.end(), [this](Link& link) { carry(link); });
        m_links.remove_if([](Link const& link) { return link.is_over; });
    }
}

void DatabaseProxy::wait()
{
    std::vector<pollfd> polled{{.fd = m_wakeup.descriptor(), .events = POLLIN, .revents = 0},
                               {.fd = m_listening.number(), .events = POLLIN, .revents = 0}};
    auto const add = [&](Stream const& comes, bool comes_through, Stream const& goes, bool goes_on)
    {
        auto const reads = comes_through && comes.unsent.size() < most_unsent;
        auto const writes = goes_on && !goes.unsent.empty();
        auto const events = (reads ? POLLIN : 0) | (writes ? POLLOUT : 0);
        // One that nothing is asked of is left out, since it would tell of its end without pause.
        polled.push_back(
            {.fd = events == 0 ? -1 : comes.from.number(), .events = static_cast<short>(events), .revents = 0});
    };
    for (auto const& link : m_links)
    {
        add(link.to_database, goes_through(true), link.to_server, goes_through(false));
        add(link.to_server, goes_through(false), link.to_database, goes_through(true));
    }
    ::poll(polled.data(), polled.size(), -1);
}

void DatabaseProxy::accept()
{
    Wire::Descriptor server(::accept4(m_listening.number(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!server.is_open() || m_line == Line::Cut)
    {
        return;
    }
    auto database = tcp_socket();
    auto address = local(m_database_port);
    if (::connect(database.number(), plain(address), sizeof address) != 0)
    {
        return;
    }
    send_at_once(server);
    send_at_once(database);
    auto& link = m_links.emplace_back();
    link.to_database.from = std::move(server);
    link.to_server.from = std::move(database);
}

void DatabaseProxy::carry(Link& link)
{
    std::string bytes;
    auto& [to_database, to_server, message, sent, loses_answer, is_over] = link;
    if (goes_through(true))
    {
        if (to_database.unsent.size() < most_unsent)
        {
            to_database.has_ended |= !receive(to_database.from, bytes);
            take_from_server(link, bytes);
        }
        is_over |= !send(to_server.from, to_database.unsent);
    }
    if (goes_through(false))
    {
        if (to_server.unsent.size() < most_unsent)
        {
            to_server.has_ended |= !receive(to_server.from, bytes);
            take_from_database(link, bytes);
        }
        is_over |= !send(to_database.from, to_server.unsent);
    }
    is_over |=
        (to_database.has_ended && to_database.unsent.empty()) || (to_server.has_ended && to_server.unsent.empty());
}

void DatabaseProxy::take_from_server(Link& link, std::string_view bytes)
{
    link.to_database.unsent.append(bytes);
    link.sent.append(bytes);
    // A statement ends with a zero, and nothing but an edit ends with this one.
    constexpr std::string_view commit("COMMIT\0", 7);
    if (link.sent.find(commit) != std::string::npos)
    {
        link.loses_answer = link.loses_answer || m_loses_answer.exchange(false);
        link.sent.clear();
    }
    link.sent.erase(0, link.sent.size() - std::min(link.sent.size(), longest_word));
}

/// Each message begins with a letter and its length, the letter not counted.
void DatabaseProxy::take_from_database(Link& link, std::string_view bytes)
{
    constexpr std::size_t head = 5;
    link.message.append(bytes);
    std::string_view rest = link.message;
    while (rest.size() >= head)
    {
        std::size_t length = 0;
        for (auto const byte : rest.substr(1, head - 1))
        {
            length = length << 8U | static_cast<unsigned char>(byte);
        }
        if (rest.size() <= length)
        {
            break;
        }
        auto const message = rest.substr(0, length + 1);
        rest.remove_prefix(message.size());
        auto const is_lost_notification = message.front() == 'A' && m_loses_notifications;
        m_lost_notifications += is_lost_notification ? 1 : 0;
        // "Ready" is the last of what the database answers.
        link.is_over = link.is_over || (link.loses_answer && message.front() == 'Z');
        if (!link.loses_answer && !is_lost_notification)
        {
            link.to_server.unsent.append(message);
        }
    }
    link.message.erase(0, link.message.size() - rest.size());
}

} // namespace Ravik::Test
