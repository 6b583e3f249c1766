#pragma once

#include <array>
#include <atomic>
#include <thread>
#include <vector>

namespace Ravik::Test
{

/// Stands between a client and a server on this machine, and does to their connections what networks do.
class TcpProxy
{
public:
    enum class Mode
    {
        Passing,
        /// What the server says next is lost, and the connection with it; then it passes again.
        LosingAnswer,
        /// The same for what the client says.
        LosingRequest,
        /// Nothing comes through, and nobody is told.
        Frozen,
        /// Connections are closed, new ones at once.
        Cut,
    };

    /// Passes on to that port of 127.0.0.1.
    explicit TcpProxy(int target);
    TcpProxy(TcpProxy const&) = delete;
    TcpProxy& operator=(TcpProxy const&) = delete;
    ~TcpProxy();

    int port() const noexcept { return m_port; }
    void set(Mode mode);

private:
    struct Pair
    {
        int client = -1;
        int server = -1;
    };

    void run();
    void accept_client();
    /// Moves what has come; returns whether the connection goes on.
    bool move(int from, int to, Mode losing);
    static void close_pair(Pair const& pair);

    int m_target;
    int m_port = 0;
    int m_listener;
    std::array<int, 2> m_wakeup{};
    std::atomic<Mode> m_mode = Mode::Passing;
    std::atomic<bool> m_is_ending = false;
    std::vector<Pair> m_pairs;
    std::thread m_thread;
};

} // namespace Ravik::Test
