#pragma once

namespace Simulation
{

/// The keys of the extension's configuration; `Variables::load` tells what stands under them.
inline constexpr char const* variables_key = "variables";
inline constexpr char const* write_protected_key = "writeProtected";
inline constexpr char const* unreachable_key = "unreachable";
inline constexpr char const* stuck_key = "stuck";
inline constexpr char const* clamped_key = "clamped";
inline constexpr char const* values_key = "values";

} // namespace Simulation
