#pragma once

#include "RavikSrvExt/Export.h"

#include <cstdint>

namespace RavikSrv
{

/// The type of a `Value`. The numbers are known to clients.
enum class ValueType : std::uint16_t
{
    Null = 0,
    Bool = 1,
    /// 32-bit signed integer
    Int = 2,
    /// 64-bit floating point
    Double = 3,
    /// UTF-8 text
    String = 4,
    /// ordered list of values
    Vector = 5,
    /// name-to-value dictionary
    Map = 6,
    /// name-to-value record, used for the parameters of functions and for settings
    Struct = 7,
    /// byte string
    Binary = 8,
    /// 64-bit signed integer
    Int64 = 9,
    DateTime = 10,
    TimeSpan = 11,
    Event = 64,
    Message = 65,
    Alarm = 66,
    /// any type, the wildcard of schemas
    Any = 256,
};

/// The type's printed name: "null", "bool", "int", "double", "string", "vector", "map", "struct", "binary", "int64",
/// "date-time", "timespan", "event", "message", "alarm" or "any"; "null" for every other number.
RAVIK_SRV_EXT_API char const* get_type_string(ValueType type) noexcept;

/// A point in time: microseconds since 1970-01-01T00:00:00Z, leap seconds not counted.
struct Timestamp
{
    std::int64_t microseconds = 0;
};

/// A duration in microseconds.
struct Timespan
{
    std::int64_t microseconds = 0;
};

} // namespace RavikSrv
