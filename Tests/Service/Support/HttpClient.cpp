#include "HttpClient.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <csignal>
#include <stdexcept>

namespace Ravik::Test
{
namespace
{

constexpr int patience = 10'000;

struct Location
{
    std::string host;
    std::string port;
};

Location locate(std::string const& address)
{
    auto const begin = address.find("://") + 3;
    auto const colon = address.rfind(':');
    auto host = address.substr(begin, colon - begin);
    std::erase_if(host, [](char each) { return each == '[' || each == ']'; });
    return {host, address.substr(colon + 1, address.rfind('/') - colon - 1)};
}

int connect_to(Location const& location, int receive_buffer)
{
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICHOST;
    addrinfo* found = nullptr;
    if (::getaddrinfo(location.host.c_str(), location.port.c_str(), &hints, &found) != 0)
    {
        throw std::runtime_error("no address: " + location.host);
    }
    int const socket = ::socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (receive_buffer > 0)
    {
        ::setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &receive_buffer, sizeof receive_buffer);
    }
    int const at_once = 1;
    ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &at_once, sizeof at_once);
    int const result = ::connect(socket, found->ai_addr, found->ai_addrlen);
    ::freeaddrinfo(found);
    if (result != 0)
    {
        ::close(socket);
        throw std::runtime_error("can't connect to port " + location.port);
    }
    return socket;
}

std::string lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char each) { return static_cast<char>(std::tolower(each)); });
    return text;
}

} // namespace

std::string Answer::field(std::string const& name) const
{
    return fields.count(name) == 1 ? fields.find(name)->second : std::string();
}

HttpClient::HttpClient(std::string const& address, int receive_buffer)
    : m_socket(connect_to(locate(address), receive_buffer))
{
    if (address.starts_with("https"))
    {
        start_tls();
    }
}

HttpClient::~HttpClient()
{
    ::close(m_socket);
}

bool HttpClient::send(std::string_view bytes)
{
    while (!bytes.empty())
    {
        auto const sent = m_tls ? ::SSL_write(m_tls.get(), bytes.data(), static_cast<int>(bytes.size()))
                                : ::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0)
        {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

void HttpClient::start_tls()
{
    // A client that goes while the other side writes must not end the test.
    ::signal(SIGPIPE, SIG_IGN);
    std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> const context(::SSL_CTX_new(::TLS_client_method()), SSL_CTX_free);
    m_tls.reset(::SSL_new(context.get()));
    ::SSL_set_fd(m_tls.get(), m_socket);
    if (::SSL_connect(m_tls.get()) != 1)
    {
        throw std::runtime_error("no TLS");
    }
}

long HttpClient::serial() const
{
    std::unique_ptr<X509, decltype(&X509_free)> const certificate(::SSL_get1_peer_certificate(m_tls.get()), X509_free);
    return ::ASN1_INTEGER_get(::X509_get0_serialNumber(certificate.get()));
}

bool HttpClient::receive()
{
    pollfd waiting{m_socket, POLLIN, 0};
    if ((!m_tls || ::SSL_pending(m_tls.get()) == 0) && ::poll(&waiting, 1, patience) != 1)
    {
        return false;
    }
    std::array<char, 16'384> bytes{};
    auto const count = m_tls ? ::SSL_read(m_tls.get(), bytes.data(), static_cast<int>(bytes.size()))
                             : ::recv(m_socket, bytes.data(), bytes.size(), 0);
    m_input.append(bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    return count > 0;
}

std::string HttpClient::read(std::size_t size)
{
    while (m_input.size() < size && receive())
    {
    }
    auto const result = m_input.substr(0, size);
    m_input.erase(0, size);
    return result;
}

Answer HttpClient::read_answer(bool has_body)
{
    auto end = std::string::npos;
    while ((end = m_input.find("\r\n\r\n")) == std::string::npos)
    {
        if (!receive())
        {
            return {};
        }
    }
    auto const head = read(end + 4);
    Answer answer;
    for (std::size_t begin = head.find("\r\n") + 2; begin < end; begin = head.find("\r\n", begin) + 2)
    {
        auto const colon = head.find(": ", begin);
        answer.fields.emplace(lower(head.substr(begin, colon - begin)),
                              head.substr(colon + 2, head.find("\r\n", begin) - colon - 2));
    }
    auto const length = answer.field("content-length");
    if (has_body && !length.empty())
    {
        answer.body = read(std::stoul(length));
        if (answer.body.size() != std::stoul(length))
        {
            return {};
        }
    }
    answer.status = head.starts_with("HTTP/1.1 ") ? static_cast<unsigned>(std::stoul(head.substr(9, 3))) : 0;
    return answer;
}

Answer HttpClient::exchange(std::string_view request)
{
    send(request);
    return read_answer();
}

bool HttpClient::is_closed_by_server()
{
    if (!m_input.empty())
    {
        return false;
    }
    pollfd waiting{m_socket, POLLIN, 0};
    return ::poll(&waiting, 1, patience) == 1 && !receive();
}

bool HttpClient::is_cut_off()
{
    pollfd waiting{m_socket, 0, 0};
    return ::poll(&waiting, 1, patience) == 1 && (waiting.revents & POLLERR) != 0;
}

void HttpClient::shut_down_sending()
{
    ::shutdown(m_socket, SHUT_WR);
}

void HttpClient::hang_up()
{
    linger const at_once{1, 0};
    ::setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    ::close(m_socket);
    m_socket = -1;
}

unsigned Frame::close_code() const
{
    return payload.size() < 2 ? 0
                              : static_cast<unsigned>(static_cast<unsigned char>(payload[0]) << 8 |
                                                      static_cast<unsigned char>(payload[1]));
}

std::string upgrade_request(std::string const& path, std::string const& more)
{
    return "GET " + path +
           " HTTP/1.1\r\nHost: localhost\r\nConnection: Upgrade\r\nUpgrade: websocket\r\n"
           "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n" +
           (more.empty() ? "Sec-WebSocket-Version: 13\r\n" : more) + "\r\n";
}

std::string frame(unsigned opcode, std::string_view payload, bool is_last)
{
    constexpr std::string_view mask = "mask";
    std::string result{static_cast<char>(opcode | (is_last ? 0x80U : 0U))};
    if (payload.size() < 126)
    {
        result += static_cast<char>(0x80U | payload.size());
    }
    else
    {
        result += static_cast<char>(0x80U | 126U);
        result += static_cast<char>(payload.size() >> 8U);
        result += static_cast<char>(payload.size() & 0xffU);
    }
    result += mask;
    for (std::size_t place = 0; place < payload.size(); ++place)
    {
        result += static_cast<char>(payload[place] ^ mask[place % mask.size()]);
    }
    return result;
}

Frame read_frame(HttpClient& client)
{
    auto const head = client.read(2);
    if (head.size() < 2)
    {
        return {};
    }
    std::size_t length = static_cast<unsigned char>(head[1]);
    if (length >= 126)
    {
        auto const long_length = client.read(length == 126 ? 2 : 8);
        length = 0;
        for (char const each : long_length)
        {
            length = length << 8U | static_cast<unsigned char>(each);
        }
    }
    return {static_cast<unsigned>(static_cast<unsigned char>(head[0]) & 0x0fU), client.read(length)};
}

} // namespace Ravik::Test
