#include "ScriptedDevice.h"

#include <stdexcept>
#include <utility>

#include <arpa/inet.h>
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

bool receive(int socket, ScriptedDevice::Bytes& frame, std::size_t size)
{
    auto const before = frame.size();
    frame.resize(before + size);
    return recv(socket, frame.data() + before, size, MSG_WAITALL) == static_cast<ssize_t>(size);
}

} // namespace

int listening_socket(int backlog, std::uint16_t& port)
{
    auto const listening = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(listening, generic, size) != 0 || listen(listening, backlog) != 0 ||
        getsockname(listening, generic, &size) != 0)
    {
        throw std::runtime_error("nothing to listen on");
    }
    port = ntohs(address.sin_port);
    return listening;
}

ScriptedDevice::ScriptedDevice(Script script)
    : m_script(std::move(script)), m_listening(listening_socket(8, m_port)), m_thread([this] { serve(); })
{
}

ScriptedDevice::~ScriptedDevice()
{
    shutdown(m_listening, SHUT_RDWR);
    m_thread.join();
    close(m_listening);
}

std::string ScriptedDevice::requests()
{
    std::lock_guard const lock(m_mutex);
    return std::exchange(m_requests, {});
}

void ScriptedDevice::serve()
{
    for (int socket = -1; (socket = accept(m_listening, nullptr, nullptr)) >= 0; close(socket))
    {
        ++m_connections;
        serve(socket);
    }
}

void ScriptedDevice::serve(int socket)
{
    for (;;)
    {
        Request request{{}, m_connections, socket};
        if (!receive(socket, request.frame, header_size) ||
            !receive(socket, request.frame, static_cast<std::size_t>(request.word(4) - 1)))
        {
            return;
        }
        {
            std::lock_guard const lock(m_mutex);
            m_requests.append(m_requests.empty() ? "" : " ").append(std::to_string(request.function()));
            m_requests.append("@").append(std::to_string(request.address()));
            if (request.function() == 3 || request.function() == 16)
            {
                m_requests.append("x").append(std::to_string(request.word(10)));
            }
        }
        send(socket, m_script(*this, request));
    }
}

ScriptedDevice::Bytes ScriptedDevice::right_answer(Request const& request)
{
    auto const first = static_cast<std::size_t>(request.address());
    auto const count = static_cast<std::size_t>(request.function() == 6 ? 1 : request.word(10));
    auto const echo = [&](std::ptrdiff_t size)
    { return framed(request, Bytes(request.frame.begin() + header_size, request.frame.begin() + header_size + size)); };
    switch (request.function())
    {
    case 3:
    {
        Bytes body = {3, static_cast<std::uint8_t>(2 * count)};
        for (std::size_t index = 0; index < count; ++index)
        {
            put_word(body, registers.at(first + index));
        }
        return framed(request, body);
    }
    case 6:
    case 16:
        for (std::size_t index = 0; index < count; ++index)
        {
            registers.at(first + index) = request.word((request.function() == 6 ? 10 : 13) + 2 * index);
        }
        return echo(5);
    case 22:
        registers.at(first) = (registers.at(first) & request.word(10)) | (request.word(12) & ~request.word(10));
        return echo(7);
    default:
        return exception(request, 1);
    }
}

ScriptedDevice::Bytes ScriptedDevice::exception(Request const& request, int code)
{
    return framed(request, {static_cast<std::uint8_t>(request.function() | 0x80), static_cast<std::uint8_t>(code)});
}

void ScriptedDevice::send(int socket, Bytes const& bytes)
{
    ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

} // namespace Ravik::Test
