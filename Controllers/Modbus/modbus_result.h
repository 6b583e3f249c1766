#pragma once

#include "ControllerOutcome.h"

#include <array>
#include <cstdint>

namespace Modbus
{

/// The extension's own result codes. Clients see the numbers, so a code never changes its value.
enum class ModbusResult : std::uint32_t
{
    SUCCESS = 0,
    /// The device does not know the request's function code.
    ILLEGAL_FUNCTION = 1,
    /// The device has nothing at the address.
    ILLEGAL_DATA_ADDRESS = 2,
    /// The device refuses the value or the number of registers.
    ILLEGAL_DATA_VALUE = 3,
    /// The device failed while it carried out the request.
    DEVICE_FAILURE = 4,
    /// The device is busy with something that takes longer.
    DEVICE_BUSY = 5,
    /// A gateway does not reach the device behind it.
    GATEWAY_TARGET_FAILED = 6,
    /// No connection or no answer within "timeoutMs".
    TIMEOUT = 7,
    /// No connection can be opened: nobody listens there, no way leads there, or the host's name is unknown.
    CONNECTION_REFUSED = 8,
    /// The connection broke, or what came was no answer to the request.
    CONNECTION_LOST = 9,
    /// The symbol's mapping is no address.
    INVALID_MAPPING = 10,
    /// The value does not fit the address's type, or what the device holds does not fit any value.
    OUT_OF_RANGE = 11,
    /// The table can only be read.
    READ_ONLY = 12,
    /// The value is of a type that the address's type does not take.
    TYPE_MISMATCH = 13,
    /// Something unforeseen happened, such as lack of memory.
    INTERNAL_ERROR = 14,
};

/// The codes' names, by code.
inline constexpr std::array result_names = {"SUCCESS",
                                            "ILLEGAL_FUNCTION",
                                            "ILLEGAL_DATA_ADDRESS",
                                            "ILLEGAL_DATA_VALUE",
                                            "DEVICE_FAILURE",
                                            "DEVICE_BUSY",
                                            "GATEWAY_TARGET_FAILED",
                                            "TIMEOUT",
                                            "CONNECTION_REFUSED",
                                            "CONNECTION_LOST",
                                            "INVALID_MAPPING",
                                            "OUT_OF_RANGE",
                                            "READ_ONLY",
                                            "TYPE_MISMATCH",
                                            "INTERNAL_ERROR"};
static_assert(result_names.size() == static_cast<std::size_t>(ModbusResult::INTERNAL_ERROR) + 1);

using Outcome = RavikSrv::ControllerOutcome<ModbusResult>;

} // namespace Modbus
