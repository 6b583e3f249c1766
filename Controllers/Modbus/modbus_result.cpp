#include "modbus_result.h"

#include <array>

namespace Modbus
{

char const* result_name(std::uint32_t code) noexcept
{
    static constexpr std::array names = {"SUCCESS",
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
    return code < names.size() ? names.at(code) : "";
}

} // namespace Modbus
