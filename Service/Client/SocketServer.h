#pragma once

#include "Client/ProjectFileMark.h"

#include "Project/Project.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace Ravik
{

/// Serves an open project to the command line of the same machine: listens on `ravik.sock` in its folder and carries
/// out, on a thread for each connection, what comes there. Calls run concurrently, and each on behalf of the account
/// that makes it. Who goes away in the middle of a call changes nothing about it.
class SocketServer
{
public:
    struct Settings
    {
        /// The project's folder.
        std::filesystem::path directory;
        /// Made before the project was opened.
        ProjectFileMark file;
        /// Whose members may connect beside the owner; empty for nobody.
        std::string group{};
        /// How many may be connected at a time.
        std::size_t connections = 64;
        /// How long a stop waits for running calls before it asks them to end early.
        std::chrono::milliseconds patience = std::chrono::seconds(30);
        /// Told what a person who looks after the service should know, on any thread; may be empty.
        std::function<void(std::string const& text)> warn{};
    };

    /// Listens from now on. The project, which this process has open, must outlive it. Throws `ProjectError` where the
    /// socket can't be had, for a person.
    SocketServer(Project& project, Settings settings);
    SocketServer(SocketServer const&) = delete;
    SocketServer& operator=(SocketServer const&) = delete;
    /// Stops.
    ~SocketServer();

    /// Removes the socket, takes no more calls and waits for the running ones, then closes all connections. Returns
    /// once no call runs any more: one that does not end early when it is asked to is waited for. Called on one thread;
    /// a second time it does nothing.
    void stop();

private:
    class Connections;

    std::unique_ptr<Connections> m_connections;
};

} // namespace Ravik
