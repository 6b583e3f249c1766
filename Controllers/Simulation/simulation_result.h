#pragma once

#include "ControllerOutcome.h"

#include <array>
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

/// The codes' names, by code.
inline constexpr std::array result_names = {"SUCCESS",     "UNKNOWN_VARIABLE", "WRITE_PROTECTED", "TYPE_MISMATCH",
                                            "UNREACHABLE", "NOT_STORED",       "INTERNAL_ERROR"};
static_assert(result_names.size() == static_cast<std::size_t>(SimulationResult::INTERNAL_ERROR) + 1);

using Outcome = RavikSrv::ControllerOutcome<SimulationResult>;

} // namespace Simulation
