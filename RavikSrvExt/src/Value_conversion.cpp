#include "RavikSrvExt/Value.h"

#include "Storage.h"
#include "time_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <concepts>
#include <limits>
#include <optional>

namespace RavikSrv
{

namespace
{

/// Longer than the longest shortest text of a double, -2.2250738585072014e-308 (24 characters), and of an int64.
constexpr std::size_t number_length = 32;

/// The integer that a double is, where it is one: both limits are exact as doubles, the upper one lies just outside.
std::optional<std::int64_t> integer_from(double number) noexcept
{
    constexpr double limit = 9223372036854775808.0; // 2^63
    return number >= -limit && number < limit && std::trunc(number) == number
               ? std::optional(static_cast<std::int64_t>(number))
               : std::nullopt;
}

/// The double that an integer is, where there is one.
std::optional<double> double_from(std::int64_t number) noexcept
{
    auto const nearest = static_cast<double>(number);
    return integer_from(nearest) == number ? std::optional(nearest) : std::nullopt;
}

/// The number that the whole text is.
template <typename T> std::optional<T> number_from(std::string_view text) noexcept
{
    T number{};
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

/// Only decimal numbers: `from_chars` would also take "inf" and "nan".
std::optional<double> double_from(std::string_view text) noexcept
{
    auto const number = number_from<double>(text);
    return number && std::isfinite(*number) ? number : std::nullopt;
}

/// The significant digits of a decimal number, without zeros at either end, and the power of ten of the last of them.
struct Decimal
{
    std::string digits;
    std::int64_t exponent = 0;
    bool negative = false;
};

/// Takes apart a text that `from_chars` has read as a number.
Decimal decimal_from(std::string_view text)
{
    Decimal number{.digits = {}, .exponent = 0, .negative = text.starts_with('-')};
    auto const mark = text.find_first_of("eE");
    if (mark != std::string_view::npos)
    {
        auto const behind = text.substr(mark + (text[mark + 1] == '+' ? 2 : 1));
        number.exponent = number_from<std::int32_t>(behind).value_or(std::numeric_limits<std::int32_t>::min());
        text = text.substr(0, mark);
    }
    text.remove_prefix(number.negative ? 1 : 0);
    auto const point = std::min(text.find('.'), text.size());
    auto const fraction = text.substr(std::min(point + 1, text.size()));
    number.digits.append(text.substr(0, point)).append(fraction);
    number.exponent -= static_cast<std::int64_t>(fraction.size());

    auto const last = number.digits.find_last_not_of('0');
    auto const kept = last == std::string::npos ? 0 : last + 1;
    number.exponent += static_cast<std::int64_t>(number.digits.size() - kept);
    number.digits.erase(kept);
    number.digits.erase(0, number.digits.find_first_not_of('0'));
    return number;
}

/// The integer that a decimal number is, digit by digit: by way of a double, one next to an integer would become it.
std::optional<std::int64_t> integer_from(std::string_view text)
{
    constexpr std::int64_t most_digits = std::numeric_limits<std::int64_t>::digits10 + 1;
    if (auto const integer = number_from<std::int64_t>(text))
    {
        return integer;
    }
    if (!double_from(text))
    {
        return std::nullopt;
    }
    auto const number = decimal_from(text);
    if (number.digits.empty())
    {
        return 0;
    }
    if (number.exponent < 0 || number.exponent > most_digits)
    {
        return std::nullopt;
    }
    std::string whole(number.negative ? 1 : 0, '-');
    whole.append(number.digits).append(static_cast<std::size_t>(number.exponent), '0');
    return number_from<std::int64_t>(whole);
}

std::optional<bool> bool_from(std::string_view text) noexcept
{
    if (text == "true" || text == "1")
    {
        return true;
    }
    return text == "false" || text == "0" ? std::optional(false) : std::nullopt;
}

std::string text_of(std::integral auto number)
{
    return std::to_string(number);
}

std::string text_of(double number)
{
    std::array<char, number_length> text{};
    auto const [end, error] = std::to_chars(text.data(), text.data() + text.size(), number);
    return {text.data(), end};
}

template <typename T> Value value_of(std::optional<T> const& content)
{
    return content ? Value(*content) : Value();
}

/// The integer as a value of one of the types that hold it in 64 bits or fewer.
Value as_type(std::optional<std::int64_t> number, ValueType type)
{
    if (!number)
    {
        return {};
    }
    switch (type)
    {
    case ValueType::Bool:
        return *number == 0 || *number == 1 ? Value(*number == 1) : Value();
    case ValueType::Int:
        return *number >= std::numeric_limits<std::int32_t>::min() &&
                       *number <= std::numeric_limits<std::int32_t>::max()
                   ? Value(static_cast<std::int32_t>(*number))
                   : Value();
    case ValueType::Int64:
        return *number;
    case ValueType::Double:
        return value_of(double_from(*number));
    case ValueType::String:
        return Value(std::string_view(text_of(*number)));
    case ValueType::DateTime:
        return Timestamp{*number};
    case ValueType::TimeSpan:
        return Timespan{*number};
    default:
        return {};
    }
}

Value from_bool(bool content, ValueType type)
{
    switch (type)
    {
    case ValueType::String:
        return content ? "true" : "false";
    case ValueType::DateTime:
    case ValueType::TimeSpan:
        return {};
    default:
        return as_type(content ? 1 : 0, type);
    }
}

Value from_double(double content, ValueType type)
{
    switch (type)
    {
    case ValueType::String:
        return Value(std::string_view(text_of(content)));
    case ValueType::DateTime:
    case ValueType::TimeSpan:
        return {};
    default:
        return as_type(integer_from(content), type);
    }
}

Value from_text(std::string_view content, ValueType type)
{
    switch (type)
    {
    case ValueType::Bool:
        return value_of(bool_from(content));
    case ValueType::Double:
        return value_of(double_from(content));
    case ValueType::DateTime:
        return value_of(Detail::timestamp_from(content));
    case ValueType::TimeSpan:
        return value_of(Detail::timespan_from(content));
    default:
        return as_type(integer_from(content), type);
    }
}

template <typename T> Value from_time(T content, ValueType type)
{
    switch (type)
    {
    case ValueType::Int:
    case ValueType::Int64:
        return as_type(content.microseconds, type);
    case ValueType::String:
        return value_of(Detail::to_text(content));
    default:
        return {};
    }
}

} // namespace

void Value::convert(ValueType type)
{
    if (type == m_type)
    {
        return;
    }
    if (Detail::has_names(type) && Detail::has_names(m_type))
    {
        m_type = type;
        return;
    }
    *this = converted(type);
}

/// The conversions between types of different kinds; `type` is not this value's own.
Value Value::converted(ValueType type) const
{
    if (type == ValueType::Any)
    {
        return Value(type);
    }
    switch (m_type)
    {
    case ValueType::Bool:
        return from_bool(m_scalar.boolean, type);
    case ValueType::Int:
    case ValueType::Int64:
        return as_type(m_scalar.integer, type);
    case ValueType::Double:
        return from_double(m_scalar.real, type);
    case ValueType::String:
        return from_text(get_text(), type);
    case ValueType::DateTime:
        return from_time(Timestamp{m_scalar.integer}, type);
    case ValueType::TimeSpan:
        return from_time(Timespan{m_scalar.integer}, type);
    default:
        return {};
    }
}

bool Value::get_bool() const
{
    if (m_type == ValueType::Bool)
    {
        return m_scalar.boolean;
    }
    auto const content = converted(ValueType::Bool);
    return content.isset() && content.m_scalar.boolean;
}

std::int32_t Value::get_int32() const
{
    auto const number = m_type == ValueType::Int ? m_scalar.integer : converted(ValueType::Int).m_scalar.integer;
    return static_cast<std::int32_t>(number);
}

std::int64_t Value::converted_integer() const
{
    return converted(ValueType::Int64).m_scalar.integer;
}

double Value::converted_real() const
{
    auto const number = converted(ValueType::Double);
    return number.isset() ? number.m_scalar.real : 0.0;
}

Timestamp Value::get_timestamp() const
{
    return {m_type == ValueType::DateTime ? m_scalar.integer : converted(ValueType::DateTime).m_scalar.integer};
}

Timespan Value::get_timespan() const
{
    return {m_type == ValueType::TimeSpan ? m_scalar.integer : converted(ValueType::TimeSpan).m_scalar.integer};
}

} // namespace RavikSrv
