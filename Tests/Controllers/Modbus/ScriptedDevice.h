#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace Ravik::Test
{

/// A Modbus device of our own on plain sockets, which can do wrong whatever a device can: its script sees each request
/// and answers as it likes. It serves one connection after the other and has to outlive whoever is connected.
class ScriptedDevice
{
public:
    using Bytes = std::vector<std::uint8_t>;

    struct Request
    {
        /// All of it: the header of 7 bytes, the function code and what follows.
        Bytes frame;
        /// Counted from 1.
        int connection;
        int socket;

        int function() const { return frame.at(7); }
        int word(std::size_t offset) const { return frame.at(offset) << 8 | frame.at(offset + 1); }
        int address() const { return word(8); }
    };

    /// Gives what is to be sent, on the device's own thread.
    using Script = std::function<Bytes(ScriptedDevice& device, Request const& request)>;

    /// Listens on a free port. Without a script it answers every request rightly (`right_answer`).
    explicit ScriptedDevice(Script script = &ScriptedDevice::right_answer);
    ~ScriptedDevice();
    ScriptedDevice(ScriptedDevice const&) = delete;
    ScriptedDevice& operator=(ScriptedDevice const&) = delete;

    std::uint16_t port() const { return m_port; }
    int connections() const { return m_connections; }
    /// The requests since the last call, each as "function@address" or "function@addressxcount", with blanks between.
    std::string requests();

    /// Carries the request out on the registers: FC 3, 6, 16 and 22 only.
    Bytes right_answer(Request const& request);
    static Bytes exception(Request const& request, int code);
    static void send(int socket, Bytes const& bytes);

    std::array<int, 65536> registers{};

private:
    void serve();
    void serve(int socket);

    Script m_script;
    std::uint16_t m_port = 0;
    int m_listening;
    std::atomic<int> m_connections = 0;
    std::mutex m_mutex;
    std::string m_requests;
    std::thread m_thread;
};

/// A socket that listens on a free port of this machine, with room for so many connections that nobody accepts.
int listening_socket(int backlog, std::uint16_t& port);

} // namespace Ravik::Test
