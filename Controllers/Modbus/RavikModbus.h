#pragma once

#include "FailedSessions.h"
#include "Pipeline.h"
#include "Settings.h"

#include "ControllerExtension.h"
#include "Mutex.h"
#include "RavikSrvExtApi.h"

#include <optional>

namespace Modbus
{

/// A device that speaks Modbus TCP: an extension of a domain of its own whose symbols are the device's registers and
/// bits.
///
/// The settings (`load_settings`) are read once, when the server starts the extension. A command's `mapping()` is an
/// address (`parse_address`); what is written is converted as `encode` says, what is read as `decode` does. Each
/// command of a group succeeds or fails by itself: one whose mapping or value is refused is not sent, the others are.
/// The requests are planned by a `Planner` and carried out by a `RequestRunner`, those of one group after another's.
/// Where the device can't be reached, further groups of the same session fail in the same way without another attempt.
class RavikModbus : public RavikSrv::ControllerExtension
{
public:
    /// `host` is not owned.
    explicit RavikModbus(RavikSrv::IRavikSrvExtHost* host) noexcept;

private:
    RavikSrv::ResultPair load(RavikSrv::Value const& configuration) override;
    RavikSrv::ResultPair check(RavikSrv::Value const& configuration) const override;
    void execute(RavikSrv::Context const& context, RavikSrv::CommandGroup& group) override;

    Settings m_settings;
    FailedSessions m_failed_sessions;
    /// Guards the pipeline for as long as a group takes. The one lock that is held while the driver waits.
    RavikSrv::Mutex m_pipeline_mutex;
    /// From `load` on.
    std::optional<Pipeline> m_pipeline RAVIK_GUARDED_BY(m_pipeline_mutex);
};

} // namespace Modbus
