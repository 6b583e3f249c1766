#pragma once

#include "RavikSrvExtApi.h"

#include <compare>
#include <cstdint>
#include <optional>

/// Arithmetic on numeric values; an argument is of type Int, Int64 or Double. All functions are pure.
namespace Ravik::Schema
{

/// Whether the number has no fraction, whatever its type.
bool is_integral(RavikSrv::Value const& number);

/// The number as an integer where that is exact.
std::optional<std::int64_t> exact_integer(RavikSrv::Value const& number);

/// The order of two numbers, exact also between an integer and a double; NaN is unordered.
std::partial_ordering compare_numbers(RavikSrv::Value const& left, RavikSrv::Value const& right);

/// Whether `number` is a whole multiple of `divisor`, which is positive. Exact between integers; where a fraction is in
/// play, 0.3 counts as a multiple of 0.1 although neither is one in binary.
bool is_multiple(RavikSrv::Value const& number, RavikSrv::Value const& divisor);

} // namespace Ravik::Schema
