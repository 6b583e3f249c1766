#pragma once

#include "RequestPlan.h"

#include "RavikSrvExtApi.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace Modbus
{

/// The domain's configuration.
struct Settings
{
    std::string host;
    std::uint16_t port = 502;
    int unit = 1;
    std::chrono::milliseconds timeout{1000};
    /// How many requests may be under way at once.
    std::size_t parallel_requests = 1;
    Limits limits;

    /// The device as messages name it.
    std::string device_name() const;
};

/// Takes over "host" (a name or an IP address; the one key that has to be there), "port" (502), "unit" (1), "timeoutMs"
/// (1000), "parallelRequests" (1), "registersPerWrite" (123), "registersPerRead" (125), "singleWritesOnly" (false) and
/// "readGap" (8). Other keys are passed over, since the store keeps those of earlier times, but for one that differs
/// from these in the case of letters alone. A failure (`EXTENSION_CONFIG`) names the key and what was expected there,
/// and leaves `settings` half changed.
RavikSrv::ResultPair load_settings(RavikSrv::Value const& configuration, Settings& settings);

} // namespace Modbus
