#include "ScriptedDevice.h"

#include <stdexcept>
#include <utility>

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Ravik::Test
{

namespace
{

constexpr std::size_t header_size = 7;

void put_word(ScriptedDevice::Bytes& bytes, int word)
{
    bytes.push_back(static_cast<std::uint8_t>(word >> 8));
    bytes.push_back(static_cast<std::uint8_t>(word));
}

/// The request's header in front of the answer, with the answer's length.
ScriptedDevice::Bytes framed(ScriptedDevice::Request const& request, ScriptedDevice::Bytes const& answer)
{
    ScriptedDevice::Bytes frame(request.frame.begin(), request.frame.begin() + 4);
    put_word(frame, static_cast<int>(answer.size()) + 1);
    frame.push_back(request.frame[6]);
    frame.insert(frame.end(), answer.begin(), answer.end());
    return frame;
}

} // namespace

ScriptedDevice::ScriptedDevice(Script script) : m_script(std::move(script))
{
    m_listening = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(m_listening, generic, size) != 0 || listen(m_listening, 8) != 0 ||
        getsockname(m_listening, generic, &size) != 0 || pipe(m_stop.data()) != 0)
    {
        throw std::runtime_error("the device can't listen");
    }
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { serve(); });
}

ScriptedDevice::~ScriptedDevice()
{
    close(m_stop[1]);
    m_thread.join();
    close(m_stop[0]);
    close(m_listening);
}

std::vector<std::string> ScriptedDevice::requests() const
{
    std::lock_guard const lock(m_mutex);
    return m_requests;
}

int ScriptedDevice::connections() const
{
    std::lock_guard const lock(m_mutex);
    return m_connections;
}

void ScriptedDevice::serve()
{
    std::vector<pollfd> sockets = {{m_stop[0], POLLIN, 0}, {m_listening, POLLIN, 0}};
    std::vector<int> numbers = {0, 0};
    while (poll(sockets.data(), sockets.size(), -1) > 0 && sockets[0].revents == 0)
    {
        for (std::size_t index = sockets.size() - 1; index > 1; --index)
        {
            if (sockets[index].revents != 0 && !receive(sockets[index].fd, numbers[index]))
            {
                close(sockets[index].fd);
                sockets.erase(sockets.begin() + static_cast<std::ptrdiff_t>(index));
                numbers.erase(numbers.begin() + static_cast<std::ptrdiff_t>(index));
            }
        }
        if (sockets[1].revents != 0)
        {
            sockets.push_back({accept(m_listening, nullptr, nullptr), POLLIN, 0});
            std::lock_guard const lock(m_mutex);
            numbers.push_back(++m_connections);
        }
    }
    for (std::size_t index = 2; index < sockets.size(); ++index)
    {
        close(sockets[index].fd);
    }
}

bool ScriptedDevice::receive(int socket, int connection)
{
    Request request{Bytes(header_size), connection, socket};
    if (recv(socket, request.frame.data(), header_size, MSG_WAITALL) != static_cast<ssize_t>(header_size))
    {
        return false;
    }
    auto const rest = static_cast<std::size_t>(request.word(4) - 1);
    request.frame.resize(header_size + rest);
    if (recv(socket, request.frame.data() + header_size, rest, MSG_WAITALL) != static_cast<ssize_t>(rest))
    {
        return false;
    }
    {
        auto text = std::to_string(request.function()) + "@" + std::to_string(request.address());
        bool const counts = request.function() != 6 && request.function() != 22;
        std::lock_guard const lock(m_mutex);
        m_requests.push_back(counts ? text + "x" + std::to_string(request.word(10)) : text);
    }
    m_script ? m_script(*this, request) : answer(request);
    return true;
}

void ScriptedDevice::answer(Request const& request)
{
    request.send(right_answer(request));
}

ScriptedDevice::Bytes ScriptedDevice::right_answer(Request const& request)
{
    auto const first = static_cast<std::size_t>(request.address());
    auto const count = static_cast<std::size_t>(request.word(10));
    Bytes echo(request.frame.begin() + header_size, request.frame.end());
    switch (request.function())
    {
    case 3:
    case 4:
    {
        Bytes body = {static_cast<std::uint8_t>(request.function()), static_cast<std::uint8_t>(2 * count)};
        for (std::size_t index = 0; index < count; ++index)
        {
            put_word(body, registers.at(first + index));
        }
        return framed(request, body);
    }
    case 6:
        registers.at(first) = static_cast<std::uint16_t>(request.word(10));
        return framed(request, echo);
    case 16:
        for (std::size_t index = 0; index < count; ++index)
        {
            registers.at(first + index) = static_cast<std::uint16_t>(request.word(13 + 2 * index));
        }
        echo.resize(5);
        return framed(request, echo);
    case 22:
        registers.at(first) = static_cast<std::uint16_t>((registers.at(first) & request.word(10)) |
                                                         (request.word(12) & ~request.word(10)));
        return framed(request, echo);
    default:
        return exception(request, 1);
    }
}

ScriptedDevice::Bytes ScriptedDevice::exception(Request const& request, int code)
{
    return framed(request, {static_cast<std::uint8_t>(request.function() | 0x80), static_cast<std::uint8_t>(code)});
}

void ScriptedDevice::Request::send(Bytes const& bytes) const
{
    ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

void ScriptedDevice::Request::hang_up() const
{
    shutdown(socket, SHUT_RDWR);
}

bool ScriptedDevice::Request::is_left_within(int milliseconds) const
{
    pollfd waiting = {socket, POLLIN, 0};
    char byte = 0;
    return poll(&waiting, 1, milliseconds) > 0 && recv(socket, &byte, 1, MSG_PEEK) <= 0;
}

} // namespace Ravik::Test
