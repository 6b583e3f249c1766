#include "ScriptedDevice.h"

#include <array>
#include <numeric>
#include <stdexcept>
#include <utility>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Ravik::Test
{

namespace
{

constexpr std::ptrdiff_t header_size = 7;
/// In each table.
constexpr int cells = 3000;

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
    : m_script(std::move(script)), m_library(modbus_new_tcp("127.0.0.1", 0), &modbus_free),
      m_cells(modbus_mapping_new(cells, cells, cells, cells), &modbus_mapping_free),
      m_listening(listening_socket(8, m_port))
{
    std::iota(m_cells->tab_registers, m_cells->tab_registers + cells, std::uint16_t{0});
    m_thread = std::thread([this] { serve(); });
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
        auto const text = std::to_string(request.function()) + "@" + std::to_string(request.address()) + "x" +
                          std::to_string(request.word(10));
        {
            std::lock_guard const lock(m_mutex);
            m_requests.append(m_requests.empty() ? "" : " ").append(text);
        }
        send(socket, m_script(*this, request));
    }
}

ScriptedDevice::Bytes ScriptedDevice::right_answer(Request const& request)
{
    std::array<int, 2> ends{};
    socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data());
    modbus_set_socket(m_library.get(), ends[0]);
    modbus_reply(m_library.get(), request.frame.data(), static_cast<int>(request.frame.size()), m_cells.get());
    Bytes answer(MODBUS_TCP_MAX_ADU_LENGTH);
    answer.resize(static_cast<std::size_t>(recv(ends[1], answer.data(), answer.size(), 0)));
    close(ends[0]);
    close(ends[1]);
    return answer;
}

ScriptedDevice::Bytes ScriptedDevice::exception(Request const& request, int code)
{
    Bytes answer(request.frame.begin(), request.frame.begin() + header_size + 2);
    answer[5] = 3;
    answer[7] |= 0x80;
    answer[8] = static_cast<std::uint8_t>(code);
    return answer;
}

void ScriptedDevice::send(int socket, Bytes const& bytes)
{
    ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

} // namespace Ravik::Test
