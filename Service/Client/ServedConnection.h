#pragma once

#include "Client/ByteReader.h"
#include "Client/ByteWriter.h"
#include "Client/Channel.h"
#include "Client/OpenRequests.h"
#include "Client/ProjectFileMark.h"

#include "Project/Project.h"

#include <atomic>
#include <deque>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

namespace Ravik::Wire
{

/// What the connections of a service share.
struct Served
{
    Project& project;
    std::filesystem::path directory;
    ProjectFileMark file;
    std::function<void(std::string const& text)> warn;
    OpenRequests requests{};
    /// Set once no more calls are taken.
    std::atomic<bool> is_ending{false};
};

/// One connection to the service of a project: makes the calls that come, one after another.
class ServedConnection
{
public:
    /// `served` must outlive it.
    ServedConnection(Descriptor socket, Served& served);
    ServedConnection(ServedConnection const&) = delete;
    ServedConnection& operator=(ServedConnection const&) = delete;
    ~ServedConnection();

    /// Returns when the connection has come to its end.
    void serve() noexcept;

    // On any thread.

    /// Takes no more calls; the running one goes on to its end.
    void take_no_more() noexcept;
    /// Asks the running call to end early and closes the connection.
    void cut() noexcept;

private:
    class Call;

    bool greet();
    void answer(std::string_view call);
    void carry_out(std::string_view name, ByteReader& arguments, ByteWriter& outcome);
    void send_backup(ByteWriter& outcome);
    void check_store(ByteWriter& outcome);
    std::filesystem::path name_of_copy() const;

    Served& m_served;
    /// The account that asks.
    std::string m_who;
    Channel m_channel;
    std::deque<RavikSrv::Session> m_begun;
    /// Of the running call.
    std::atomic<bool> m_stop = false;
};

} // namespace Ravik::Wire
