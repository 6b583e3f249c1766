#pragma once

#include "DatabaseProxy.h"

#include "Client/RemoteProject.h"
#include "Configuration/Library.h"
#include "Support/TemporaryFolder.h"

#include <filesystem>
#include <memory>
#include <string>
#include <sys/types.h>

namespace Ravik::Test
{

/// A server in a process of its own, `ravik serve` on a project of its own, whose line to the database can fail. It
/// ends with this process at the latest, or with the thread that started it.
class ServedLine
{
public:
    /// `database` names everything but where it is.
    ServedLine(std::string name, std::string const& database, int database_port);
    ServedLine(ServedLine const&) = delete;
    ServedLine& operator=(ServedLine const&) = delete;
    ~ServedLine() { kill(); }

    std::string const& name() const noexcept { return m_name; }
    std::filesystem::path const& folder() const noexcept { return m_folder.path(); }
    DatabaseProxy& line() noexcept { return m_line; }

    void start();
    /// With SIGKILL.
    void kill();
    void freeze() const;
    void thaw() const;
    bool is_running() const noexcept { return m_process > 0; }
    /// Null where it does not listen.
    std::unique_ptr<Project> connect() const;
    /// The same, once it listens.
    std::unique_ptr<Project> reach() const;
    /// What it has said.
    std::string log() const { return content_of(m_folder.path() / "log"); }

private:
    std::string m_name;
    TemporaryFolder m_folder;
    DatabaseProxy m_line;
    pid_t m_process = -1;
};

} // namespace Ravik::Test
