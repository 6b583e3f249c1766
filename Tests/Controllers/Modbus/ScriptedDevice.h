#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <modbus/modbus.h>

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
    /// The requests since the last call, each as "function@addressxword", with blanks between. The word is the number
    /// of cells, of the single writes the value and of the masked one what it keeps.
    std::string requests();

    /// Carries the request out.
    Bytes right_answer(Request const& request);
    static Bytes exception(Request const& request, int code);
    static void send(int socket, Bytes const& bytes);

    /// A holding register, up to address 2999. Each holds its own address at first, all other cells hold 0.
    std::uint16_t& holding(int address) { return m_cells->tab_registers[address]; }

private:
    void serve();
    void serve(int socket);

    Script m_script;
    std::unique_ptr<modbus_t, void (*)(modbus_t*)> m_library;
    std::unique_ptr<modbus_mapping_t, void (*)(modbus_mapping_t*)> m_cells;
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
