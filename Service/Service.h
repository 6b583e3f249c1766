#pragma once

#include "Client/ProjectFileMark.h"
#include "Http/Log.h"

#include "Project/Project.h"
#include "Project/ServiceSettings.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace Ravik::Service
{

/// A project as a service: over HTTP and its stream, and to the command line over the project's own socket. It takes a
/// project that is open and serves it until it is stopped.
class Service
{
public:
    /// The project and the log outlive it; `file` was made before the project was opened. Throws `ProjectError` where
    /// something of the settings can't be had, and where the service would be open to others than this machine without
    /// TLS and a user. Listens when it is there, and serves from `start` on.
    Service(std::filesystem::path const& directory, ProjectFileMark const& file, Project& project,
            ServiceSettings const& settings, Log& log);
    Service(Service const&) = delete;
    Service& operator=(Service const&) = delete;
    ~Service();

    /// "http://127.0.0.1:8420/" each.
    std::vector<std::string> addresses() const;
    /// The link that signs in whoever holds it as long as there is no user or token; empty where there is one.
    std::string start_link();

    void start();
    /// Reads the files of TLS again; what goes wrong is told to the log.
    void reload();
    /// Takes nothing new, lets running activations come to their end (at most 30 seconds), and closes what is open.
    void stop();

private:
    class Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace Ravik::Service
