#pragma once

#include "Client/Channel.h"
#include "Client/RemoteProject.h"
#include "Client/SocketServer.h"
#include "Client/project_socket.h"
#include "Client/protocol.h"

#include "Service/Client/ScriptedProject.h"
#include "Support/TemporaryFolder.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace Ravik::Test
{

/// A scripted project and its service, in a folder of its own.
class ServedProject
{
public:
    ServedProject() { m_folder.write("ravik.json", "{}"); }

    SocketServer::Settings settings(std::filesystem::path const& directory)
    {
        return {.directory = directory,
                .file = ProjectFileMark(directory),
                .warn = [this](std::string const& text)
                {
                    std::lock_guard const lock(m_mutex);
                    m_warned.push_back(text);
                }};
    }
    SocketServer::Settings settings() { return settings(folder()); }
    void start() { start(settings()); }
    void start(SocketServer::Settings const& settings) { m_server.emplace(project, settings); }
    void stop() { m_server.reset(); }

    std::filesystem::path const& folder() const noexcept { return m_folder.path(); }
    std::unique_ptr<RemoteProject> connect() const { return RemoteProject::connect(folder(), {}); }
    /// A connection without a word said.
    Wire::Channel channel() const { return Wire::Channel(Wire::connect_to_service(folder())); }
    /// One on which the service has answered the hello.
    Wire::Channel greeted() const
    {
        auto channel = this->channel();
        channel.send(Wire::MessageKind::hello, hello());
        static_cast<void>(channel.receive());
        return channel;
    }

    static std::string hello(Wire::Versions const& versions = Wire::own_versions())
    {
        Wire::ByteWriter bytes;
        Wire::Encoder(bytes).write(versions);
        return bytes.bytes();
    }

    std::vector<std::string> warned()
    {
        std::lock_guard const lock(m_mutex);
        return m_warned;
    }

    testing::NiceMock<ScriptedProject> project;

private:
    TemporaryFolder m_folder;
    std::mutex m_mutex;
    std::vector<std::string> m_warned;
    std::optional<SocketServer> m_server;
};

} // namespace Ravik::Test
