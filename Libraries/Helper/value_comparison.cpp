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

} // namespace RavikSrv
