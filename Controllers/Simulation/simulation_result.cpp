#include "simulation_result.h"

#include <array>

namespace Simulation
{

char const* result_name(std::uint32_t code) noexcept
{
    static constexpr std::array names = {"SUCCESS",     "UNKNOWN_VARIABLE", "WRITE_PROTECTED", "TYPE_MISMATCH",
                                         "UNREACHABLE", "NOT_STORED",       "INTERNAL_ERROR"};
    return code < names.size() ? names.at(code) : "";
}

} // namespace Simulation
