#pragma once

#include "Connection.h"
#include "RequestRunner.h"
#include "Settings.h"
#include "modbus_result.h"

#include "RavikSrvExtApi.h"

#include <mutex>
#include <optional>
#include <vector>

namespace Modbus
{

/// A device that speaks Modbus TCP: an extension of a domain of its own whose symbols are the device's registers and
/// bits.
///
/// The settings (`load_settings`) are read once, when the server starts the extension. A command's `mapping()` is an
/// address (`parse_address`); what is written is converted as `encode` says, what is read as `decode` does. Each
/// command of a group succeeds or fails by itself: one whose mapping or value is refused is not sent, the others are.
/// The requests are planned by `plan_requests` and carried out by a `RequestRunner`, those of one group after
/// another's.
class RavikModbus : public RavikSrv::IRavikSrvExt, private RavikSrv::IRavikSrvRequestListener
{
public:
    /// `host` is not owned.
    explicit RavikModbus(RavikSrv::IRavikSrvExtHost* host) noexcept : m_host(host) {}

    /// Refuses settings that are wrong with `EXTENSION_CONFIG`. Calls nobody but the host: the device may be switched
    /// off.
    RavikSrv::ResultPair init(RavikSrv::Context context) override;
    RavikSrv::String error_string(unsigned code) override;
    void on_request(RavikSrv::Context context, RavikSrv::CommandGroup* group) override;

private:
    /// A group's commands that reach the device, each with the access of the same index.
    struct Prepared
    {
        std::vector<RavikSrv::Command*> commands;
        Batch batch;
    };

    void execute(RavikSrv::CommandGroup& group);
    static void prepare(RavikSrv::Command& command, Prepared& prepared);

    RavikSrv::IRavikSrvExtHost* m_host;
    Settings m_settings;
    /// Guards the connection for as long as a group takes. The one lock that is held while the driver waits.
    std::mutex m_connection_mutex;
    /// From `init` on.
    std::optional<Connection> m_connection;
};

} // namespace Modbus
