#pragma once

#include "Client/Channel.h"
#include "Client/Encoder.h"

#include "Mutex.h"
#include "RavikSrvExtApi.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Ravik::Wire
{

/// A call that came to no outcome. `what()` tells a person why, and whether anything can have happened.
class CallFailed : public std::runtime_error
{
public:
    CallFailed(RavikSrv::ErrorValue error, std::string const& text) : std::runtime_error(text), m_error(error) {}

    RavikSrv::ErrorValue error() const noexcept { return m_error; }

private:
    RavikSrv::ErrorValue m_error;
};

/// The way to the service of a project: a connection for each call that runs at the same time. Thread-safe.
class ServiceLink
{
public:
    /// Takes each piece of a file that is sent along with a call's outcome.
    using OnData = std::function<void(std::string_view piece)>;

    /// Null where no service listens, or one that is just ending. Throws `ProjectError` where one does that serves
    /// nobody, speaks another version's protocol or is not to be trusted, see `connect_to_service`.
    static std::unique_ptr<ServiceLink> open(std::filesystem::path const& directory);

    /// What the service has for whoever uses the project.
    std::vector<std::string> const& warnings() const noexcept { return m_warnings; }

    /// Makes the call, and meanwhile what it asks of the caller. Returns the outcome. Throws `CallFailed`, and what
    /// callbacks throw.
    std::string call(std::string_view message, CallerSide const& caller, OnData const& on_data = {});

private:
    explicit ServiceLink(std::filesystem::path const& directory) : m_directory(directory) {}

    /// A new connection with what the service has to say; null where there is none.
    std::unique_ptr<Channel> connect(std::vector<std::string>& warnings) const;
    std::unique_ptr<Channel> take_channel();

    std::filesystem::path m_directory;
    std::vector<std::string> m_warnings;
    RavikSrv::Mutex m_mutex;
    /// Those that no call uses.
    std::vector<std::unique_ptr<Channel>> m_idle RAVIK_GUARDED_BY(m_mutex);
};

} // namespace Ravik::Wire
