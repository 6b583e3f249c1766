#include "Schema/numbers.h"

#include <cmath>
#include <limits>

namespace Ravik::Schema
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

constexpr double integer_limit = 9223372036854775808.0; // 2^63, the first double beyond int64

bool is_double(Value const& number)
{
    return number.type() == ValueType::Double;
}

/// The nearest double, which for an integer of more than 53 bits is not the number itself.
double nearest_double(Value const& number)
{
    return is_double(number) ? number.get_double() : static_cast<double>(number.get_int64());
}

std::partial_ordering compare(std::int64_t left, double right)
{
    if (std::isnan(right))
    {
        return std::partial_ordering::unordered;
    }
    if (right >= integer_limit)
    {
        return std::partial_ordering::less;
    }
    if (right < -integer_limit)
    {
        return std::partial_ordering::greater;
    }
    auto const whole = std::trunc(right);
    auto const order = left <=> static_cast<std::int64_t>(whole);
    return std::is_eq(order) ? 0.0 <=> (right - whole) : std::partial_ordering(order);
}

std::partial_ordering reversed(std::partial_ordering order)
{
    return std::is_lt(order) ? std::partial_ordering::greater : std::is_gt(order) ? std::partial_ordering::less : order;
}

} // namespace

bool is_integral(Value const& number)
{
    return !is_double(number) ||
           (std::isfinite(number.get_double()) && std::trunc(number.get_double()) == number.get_double());
}

std::optional<std::int64_t> exact_integer(Value const& number)
{
    if (!is_double(number))
    {
        return number.get_int64();
    }
    auto const content = number.get_double();
    return is_integral(number) && content >= -integer_limit && content < integer_limit
               ? std::optional(static_cast<std::int64_t>(content))
               : std::nullopt;
}

std::partial_ordering compare_numbers(Value const& left, Value const& right)
{
    if (is_double(left))
    {
        return is_double(right) ? left.get_double() <=> right.get_double()
                                : reversed(compare(right.get_int64(), left.get_double()));
    }
    return is_double(right) ? compare(left.get_int64(), right.get_double())
                            : std::partial_ordering(left.get_int64() <=> right.get_int64());
}

bool is_multiple(Value const& number, Value const& divisor)
{
    auto const dividend_integer = exact_integer(number);
    auto const divisor_integer = exact_integer(divisor);
    if (dividend_integer && divisor_integer)
    {
        return *dividend_integer % *divisor_integer == 0;
    }
    constexpr double exact_quotients = 1125899906842624.0; // 2^50: above it a quotient has no room for a fraction
    constexpr double tolerance = 4 * std::numeric_limits<double>::epsilon();
    auto const dividend = nearest_double(number);
    auto const quotient = dividend / nearest_double(divisor);
    if (std::abs(quotient) < exact_quotients)
    {
        return std::abs(quotient - std::round(quotient)) <= tolerance * std::abs(quotient);
    }
    return std::isfinite(dividend) && std::fmod(dividend, nearest_double(divisor)) == 0.0;
}

} // namespace Ravik::Schema
