#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace Ravik::Test
{

/// A Modbus device of our own on plain sockets, which can do wrong whatever a device can: its script sees each request
/// and answers as it likes. It counts requests and connections.
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

        void send(Bytes const& bytes) const;
        /// Ends the connection.
        void hang_up() const;
        /// Whether the other side hangs up within that time, without having sent anything more.
        bool is_left_within(int milliseconds) const;
    };

    using Script = std::function<void(ScriptedDevice& device, Request const& request)>;

    /// Listens on a free port. Without a script it answers every request rightly (`answer`).
    explicit ScriptedDevice(Script script = {});
    ~ScriptedDevice();
    ScriptedDevice(ScriptedDevice const&) = delete;
    ScriptedDevice& operator=(ScriptedDevice const&) = delete;

    std::uint16_t port() const { return m_port; }
    /// The requests so far, each as "function@address" or "function@addressxcount", and their connections.
    std::vector<std::string> requests() const;
    int connections() const;

    // For scripts, which run on the device's own thread ---------------------------------------------------------------

    /// Carries the request out on the registers and sends the answer. FC 3, 4, 6, 16 and 22 only.
    void answer(Request const& request);
    /// The right answer, to be spoilt.
    Bytes right_answer(Request const& request);
    static Bytes exception(Request const& request, int code);

    std::array<std::uint16_t, 65536> registers{};

private:
    void serve();
    bool receive(int socket, int connection);

    Script m_script;
    int m_listening = -1;
    std::array<int, 2> m_stop{};
    std::uint16_t m_port = 0;
    mutable std::mutex m_mutex;
    std::vector<std::string> m_requests;
    int m_connections = 0;
    std::thread m_thread;
};

} // namespace Ravik::Test
