#include "value_comparison.h"

#include "algorithm_helper.h"

#include <cmath>
#include <limits>

namespace RavikSrv
{

namespace
{

template <typename Number> bool is_within_epsilon(Number left, Number right)
{
    return left == right || std::abs(left - right) <= std::numeric_limits<Number>::epsilon();
}

bool is_number(Value const& value)
{
    return value.type() == ValueType::Int || value.type() == ValueType::Int64 || value.type() == ValueType::Double;
}

/// Exact for whole numbers of 64 bits too.
long double as_long_double(Value const& value, bool is_float)
{
    if (value.type() != ValueType::Double)
    {
        return static_cast<long double>(value.get_int64());
    }
    auto const number = value.get_double();
    return is_float ? static_cast<long double>(static_cast<float>(number)) : static_cast<long double>(number);
}

} // namespace

bool describes_float(Value const& schema)
{
    Value const& reference = schema["$ref"];
    return reference.type() == ValueType::String &&
           (Algorithm::equals(reference.get_string(), "ravik:general#/definitions/REAL32") ||
            Algorithm::equals(reference.get_string(), "ravik:general#/definitions/REAL"));
}

bool values_agree(Value const& stored, Value live, bool is_float)
{
    live.convert(stored.type());
    // What can't be converted is no number either, and agrees with none.
    if (stored.type() != ValueType::Double || live.type() != ValueType::Double)
    {
        return live == stored;
    }
    auto const left = stored.get_double();
    auto const right = live.get_double();
    return is_float ? is_within_epsilon(static_cast<float>(left), static_cast<float>(right))
                    : is_within_epsilon(left, right);
}

bool values_agree(Value const& stored, Value const& live, bool is_float, double tolerance)
{
    if (values_agree(stored, live, is_float))
    {
        return true;
    }
    if (!(tolerance > 0) || !is_number(stored) || !is_number(live))
    {
        return false;
    }
    auto const distance = as_long_double(stored, is_float) - as_long_double(live, is_float);
    return std::abs(distance) <= static_cast<long double>(tolerance);
}

} // namespace RavikSrv
