#pragma once

#include "Client/Descriptor.h"
#include "Library/Wakeup.h"

#include <atomic>
#include <list>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace Ravik::Test
{

/// The line between a server and its database on this machine, which fails as it is told to. Its own thread carries the
/// bytes.
class DatabaseProxy
{
public:
    explicit DatabaseProxy(int database_port);
    DatabaseProxy(DatabaseProxy const&) = delete;
    DatabaseProxy& operator=(DatabaseProxy const&) = delete;
    ~DatabaseProxy();

    int port() const noexcept { return m_port; }
    /// Where those who connect from now on come to.
    void lead_to(int database_port) noexcept { m_database_port = database_port; }

    enum class Line
    {
        Whole,
        /// All connections are closed, and so is each that comes.
        Cut,
        /// Connections stay, or come, and nothing goes through.
        Frozen,
        /// Nothing goes to the database.
        Deaf,
        /// Nothing comes from it.
        Mute,
    };
    void set(Line line);
    /// The next commit of an edit reaches the database; the answer is lost, and the connection with it.
    void lose_answer();
    bool has_lost_answer() const noexcept { return !m_loses_answer; }
    void lose_notifications(bool are_lost) noexcept { m_loses_notifications = are_lost; }
    /// Since it was made.
    int lost_notifications() const noexcept { return m_lost_notifications; }

private:
    /// What goes one way.
    struct Stream
    {
        Wire::Descriptor from;
        std::string unsent{};
        bool has_ended = false;
    };
    struct Link
    {
        Stream to_database;
        Stream to_server;
        /// What has come from the database and is no whole message yet.
        std::string message{};
        /// The end of what the server sent.
        std::string sent{};
        bool loses_answer = false;
        bool is_over = false;
    };

    void run();
    void wait();
    void accept();
    void carry(Link& link);
    void take_from_server(Link& link, std::string_view bytes);
    void take_from_database(Link& link, std::string_view bytes);
    bool goes_through(bool to_database) const noexcept;

    Wire::Descriptor m_listening;
    int m_port = 0;
    std::atomic<int> m_database_port;
    std::atomic<Line> m_line{Line::Whole};
    std::atomic<bool> m_loses_answer = false;
    std::atomic<bool> m_loses_notifications = false;
    std::atomic<int> m_lost_notifications = 0;
    std::atomic<bool> m_is_ending = false;
    std::list<Link> m_links;
    Wakeup m_wakeup;
    std::thread m_thread;
};

} // namespace Ravik::Test
