#include "Client/SocketServer.h"

#include "Client/Event.h"
#include "Client/ServedConnection.h"
#include "Client/project_socket.h"

#include "Mutex.h"
#include "boundary_guard.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <list>
#include <poll.h>
#include <system_error>
#include <thread>
#include <utility>

namespace Ravik
{

using Wire::Descriptor;

namespace
{

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// So long nobody is let in after nobody could be, for want of memory, threads or descriptors.
constexpr milliseconds pause{100};

} // namespace

/// The connections of a service, each on its thread, and the thread that lets them in.
class SocketServer::Connections
{
public:
    Connections(Project& project, Settings settings);
    ~Connections() { stop(); }
    Connections(Connections const&) = delete;
    Connections& operator=(Connections const&) = delete;

    void stop();

private:
    struct Connection
    {
        Connection(Descriptor socket, Wire::Served& shared) : served(std::move(socket), shared) {}

        Wire::ServedConnection served;
        std::atomic<bool> is_done = false;
        std::thread thread{};
    };

    void let_in() noexcept;
    void let_in_next();
    void add(Descriptor socket);
    void close_done();
    bool wait_for_all(milliseconds patience);

    std::size_t m_most;
    milliseconds m_patience;
    Wire::Served m_served;
    Wire::ListeningSocket m_listening;
    /// Raised to end the letting in, and by each connection that has ended.
    Wire::Event m_end;
    Wire::Event m_one_done;
    /// Of the thread that lets in, and of who stops it once that has ended.
    std::list<Connection> m_connections;
    std::thread m_thread;
};

SocketServer::SocketServer(Project& project, Settings settings)
    : m_connections(std::make_unique<Connections>(project, std::move(settings)))
{
}

SocketServer::~SocketServer() = default;

void SocketServer::stop()
{
    m_connections->stop();
}

SocketServer::Connections::Connections(Project& project, Settings settings)
    : m_most(settings.connections),
      m_patience(settings.patience), m_served{.project = project,
                                              .directory = settings.directory,
                                              .file = std::move(settings.file),
                                              .warn = settings.warn ? std::move(settings.warn)
                                                                    : [](std::string const& /*text*/) {}},
      m_listening(settings.directory, settings.group), m_thread([this] { let_in(); })
{
}

// Letting in ----------------------------------------------------------------------------------------------------------

void SocketServer::Connections::let_in() noexcept
{
    std::array<pollfd, 2> polled{{{.fd = m_end.descriptor(), .events = POLLIN, .revents = 0},
                                  {.fd = m_listening.descriptor(), .events = POLLIN, .revents = 0}}};
    while (polled[0].revents == 0)
    {
        if (::poll(polled.data(), polled.size(), -1) > 0 && polled[1].revents != 0)
        {
            RavikSrv::guarded(
                "service", [this] { let_in_next(); }, [this](char const* text) { m_served.warn(text); });
        }
    }
}

void SocketServer::Connections::let_in_next()
{
    close_done();
    auto socket = m_listening.accept();
    if (!socket.is_open())
    {
        m_served.warn("nobody can be let in: " + std::generic_category().message(errno));
        std::this_thread::sleep_for(pause);
    }
    else if (m_connections.size() >= m_most)
    {
        Wire::Channel(std::move(socket))
            .offer(Wire::MessageKind::refusal,
                   "the service has " + std::to_string(m_most) + " connections open already; try again");
    }
    else
    {
        add(std::move(socket));
    }
}

void SocketServer::Connections::add(Descriptor socket)
{
    auto& added = m_connections.emplace_back(std::move(socket), m_served);
    try
    {
        added.thread = std::thread(
            [this, &added]
            {
                added.served.serve();
                added.is_done = true;
                m_one_done.raise();
            });
    }
    catch (std::system_error const& error)
    {
        m_connections.pop_back();
        m_served.warn(std::string("nobody can be let in: ") + error.what());
    }
}

void SocketServer::Connections::close_done()
{
    m_connections.remove_if(
        [](Connection& connection)
        {
            auto const is_done = connection.is_done.load();
            if (is_done)
            {
                connection.thread.join();
            }
            return is_done;
        });
}

// Stopping ------------------------------------------------------------------------------------------------------------

void SocketServer::Connections::stop()
{
    if (!m_thread.joinable())
    {
        return;
    }
    m_served.is_ending = true;
    m_listening.remove();
    m_end.raise();
    m_thread.join();
    m_listening.close();
    for (auto& connection : m_connections)
    {
        connection.served.take_no_more();
    }
    if (!wait_for_all(m_patience))
    {
        for (auto& connection : m_connections)
        {
            connection.served.cut();
        }
    }
    for (auto& connection : m_connections)
    {
        connection.thread.join();
    }
    m_connections.clear();
}

bool SocketServer::Connections::wait_for_all(milliseconds patience)
{
    auto const end = steady_clock::now() + patience;
    auto const all_are_done = [this]
    {
        return std::all_of(m_connections.begin(), m_connections.end(),
                           [](Connection const& connection) { return connection.is_done.load(); });
    };
    auto are_done = all_are_done();
    while (!are_done && steady_clock::now() < end)
    {
        static_cast<void>(m_one_done.wait(std::chrono::ceil<milliseconds>(end - steady_clock::now())));
        are_done = all_are_done();
    }
    return are_done;
}

} // namespace Ravik
