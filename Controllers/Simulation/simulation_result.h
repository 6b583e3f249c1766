#pragma once

#include <cstdint>

namespace Simulation
{

/// The extension's own result codes. Clients see the numbers, so a code never changes its value.
enum class SimulationResult : std::uint32_t
{
    SUCCESS = 0,
    /// No variable of that name is configured.
    UNKNOWN_VARIABLE = 1,
    /// The variable is only to be read.
    WRITE_PROTECTED = 2,
    /// The value does not convert to the variable's type without loss.
    TYPE_MISMATCH = 3,
    /// The controller is configured as not answering.
    UNREACHABLE = 4,
    /// The variable has taken the value, but the value could not be kept for the next start.
    NOT_STORED = 5,
    /// Something unforeseen happened, such as lack of memory.
    INTERNAL_ERROR = 6,
};

/// The code's name, empty for a code that is none of these.
char const* result_name(std::uint32_t code) noexcept;

} // namespace Simulation
