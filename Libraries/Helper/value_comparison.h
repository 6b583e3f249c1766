#pragma once

#include "RavikSrvExtApi.h"

/// When a value that is stored counts as standing in the controller. All functions are pure and thread-safe.
namespace RavikSrv
{

/// Whether the schema of a symbol describes a floating-point symbol of 32 bits.
[[nodiscard]] bool describes_float(Value const& schema);

/// Whether the live value of a symbol is the stored one. It is converted to the stored value's type first. Doubles
/// agree within the epsilon of their width, which is 32 bits where `is_float` says so, and a NaN agrees with nothing;
/// everything else agrees where it is equal.
[[nodiscard]] bool values_agree(Value const& stored, Value live, bool is_float);

/// The same where numbers may also be off by `tolerance`, which is not negative.
[[nodiscard]] bool values_agree(Value const& stored, Value const& live, bool is_float, double tolerance);

} // namespace RavikSrv
