#include "Registers.h"

#include <boost/nowide/utf/utf.hpp>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <string_view>

namespace Modbus
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

constexpr unsigned register_bits = 16;
constexpr unsigned byte_bits = 8;
constexpr std::uint16_t low_byte = 0xFF;

struct Range
{
    std::int64_t lowest;
    std::int64_t highest;
};

template <typename T> constexpr Range range_of()
{
    return {std::numeric_limits<T>::min(), std::numeric_limits<T>::max()};
}

/// Of a uint64 the range that a value can bear.
constexpr Range range(Type type)
{
    switch (type)
    {
    case Type::INT16:
        return range_of<std::int16_t>();
    case Type::UINT16:
        return range_of<std::uint16_t>();
    case Type::INT32:
        return range_of<std::int32_t>();
    case Type::UINT32:
        return range_of<std::uint32_t>();
    case Type::UINT64:
        return {0, std::numeric_limits<std::int64_t>::max()};
    default:
        return range_of<std::int64_t>();
    }
}

bool is_number(Value const& value)
{
    return value.type() == ValueType::Bool || value.type() == ValueType::Int || value.type() == ValueType::Int64 ||
           value.type() == ValueType::Double;
}

std::string shown(Value const& value)
{
    auto text = value;
    text.convert(ValueType::String);
    auto const quote = value.type() == ValueType::String ? "\"" : "";
    return (text.isset() ? quote + std::string(text.get_text()) + quote + ", " : std::string()) + "a value of type " +
           get_type_string(value.type());
}

Outcome mismatch(char const* expected, Value const& value)
{
    return {ModbusResult::TYPE_MISMATCH, std::string("Expected ") + expected + ", not " + shown(value)};
}

Outcome out_of_range(std::string const& expected, Value const& value)
{
    return {ModbusResult::OUT_OF_RANGE, "Expected " + expected + ", not " + shown(value)};
}

Outcome out_of_range(Range range, Value const& value)
{
    return out_of_range("a whole number from " + std::to_string(range.lowest) + " to " + std::to_string(range.highest),
                        value);
}

// Registers ----------------------------------------------------------------------------------------------------------

void put(Address const& address, std::uint64_t bits, std::span<std::uint16_t> cells)
{
    for (std::size_t low = 0; low < cells.size(); ++low)
    {
        auto const index = address.swapped ? low : cells.size() - 1 - low;
        cells[index] = static_cast<std::uint16_t>(bits >> (low * register_bits));
    }
}

std::uint64_t get(Address const& address, std::span<std::uint16_t const> cells)
{
    std::uint64_t bits = 0;
    for (std::size_t high = 0; high < cells.size(); ++high)
    {
        bits = bits << register_bits | cells[address.swapped ? cells.size() - 1 - high : high];
    }
    return bits;
}

// Encoding -----------------------------------------------------------------------------------------------------------

Outcome encode_bool(Address const& address, Value const& value, std::span<std::uint16_t> cells)
{
    auto truth = value;
    if (is_number(value))
    {
        truth.convert(ValueType::Bool);
    }
    if (truth.type() != ValueType::Bool)
    {
        return mismatch("true or false", value);
    }
    auto const bit = address.is_bit_of_register() ? 1U << address.bit : 1U;
    cells.front() = static_cast<std::uint16_t>(truth.get_bool() ? bit : 0U);
    return {};
}

/// A number that is no int, as one.
Outcome to_integer(Value const& value, Range range, std::int64_t& integer)
{
    if (!is_number(value))
    {
        return mismatch("a whole number", value);
    }
    auto number = value;
    number.convert(ValueType::Int64);
    if (!number.isset())
    {
        auto const real = value.get_double();
        return std::isfinite(real) && real != std::trunc(real) ? mismatch("a whole number", value)
                                                               : out_of_range(range, value);
    }
    integer = number.get_int64();
    return {};
}

Outcome encode_integer(Address const& address, Value const& value, std::span<std::uint16_t> cells)
{
    auto const allowed = range(address.type);
    std::int64_t integer = 0;
    if (value.type() == ValueType::Int || value.type() == ValueType::Int64)
    {
        integer = value.get_int64();
    }
    else if (auto outcome = to_integer(value, allowed, integer); !outcome.succeeded())
    {
        return outcome;
    }
    if (integer < allowed.lowest || integer > allowed.highest)
    {
        return out_of_range(allowed, value);
    }
    put(address, static_cast<std::uint64_t>(integer), cells);
    return {};
}

Outcome encode_real(Address const& address, Value const& value, std::span<std::uint16_t> cells)
{
    if (!is_number(value))
    {
        return mismatch("a number", value);
    }
    auto number = value;
    number.convert(ValueType::Double);
    if (!number.isset())
    {
        return out_of_range("a number that a real64 holds exactly", value);
    }
    auto const real = number.get_double();
    if (address.type == Type::REAL64)
    {
        put(address, std::bit_cast<std::uint64_t>(real), cells);
        return {};
    }
    // Half a step above the largest real32; what lies below is nearest to that one.
    constexpr double beyond = 0x1.ffffffp127;
    if (std::isfinite(real) && std::abs(real) >= beyond)
    {
        return out_of_range("a number within the range of a real32", value);
    }
    constexpr double largest = std::numeric_limits<float>::max();
    auto const nearest = static_cast<float>(std::isfinite(real) ? std::clamp(real, -largest, largest) : real);
    if (value.type() != ValueType::Double && static_cast<double>(nearest) != real)
    {
        return out_of_range("a whole number that a real32 holds exactly", value);
    }
    put(address, std::bit_cast<std::uint32_t>(nearest), cells);
    return {};
}

Outcome encode_text(Address const& address, Value const& value, std::span<std::uint16_t> cells)
{
    if (value.type() != ValueType::String)
    {
        return mismatch("a text", value);
    }
    auto const text = value.get_text();
    if (text.size() > address.length)
    {
        return {ModbusResult::OUT_OF_RANGE, "Expected a text of at most " + std::to_string(address.length) +
                                                " bytes, not one of " + std::to_string(text.size())};
    }
    if (text.find('\0') != std::string_view::npos)
    {
        return {ModbusResult::OUT_OF_RANGE, "A text ends at its first zero and can't hold one"};
    }
    std::fill(cells.begin(), cells.end(), std::uint16_t{0});
    for (std::size_t index = 0; index < text.size(); ++index)
    {
        auto const byte = static_cast<unsigned char>(text[index]);
        auto& cell = cells[index / 2];
        cell = static_cast<std::uint16_t>(cell | (index % 2 == 0 ? byte << byte_bits : byte));
    }
    return {};
}

// Decoding -----------------------------------------------------------------------------------------------------------

bool is_utf8(std::string_view text)
{
    using Utf = boost::nowide::utf::utf_traits<char>;
    auto const* next = text.begin();
    while (next != text.end())
    {
        auto const character = Utf::decode(next, text.end());
        if (character == boost::nowide::utf::illegal || character == boost::nowide::utf::incomplete)
        {
            return false;
        }
    }
    return true;
}

Outcome decode_text(Address const& address, std::span<std::uint16_t const> cells, Value& value)
{
    std::string text;
    text.reserve(address.length);
    for (std::size_t index = 0; index < address.length; ++index)
    {
        auto const cell = cells[index / 2];
        auto const byte = static_cast<char>(index % 2 == 0 ? cell >> byte_bits : cell & low_byte);
        if (byte == '\0')
        {
            break;
        }
        text.push_back(byte);
    }
    if (!is_utf8(text))
    {
        return {ModbusResult::OUT_OF_RANGE, "The registers hold bytes that are no UTF-8 text"};
    }
    value = Value(std::string_view(text));
    return {};
}

Value integer(std::int64_t number)
{
    auto const [lowest, highest] = range_of<std::int32_t>();
    return number >= lowest && number <= highest ? Value(static_cast<int>(number)) : Value(number);
}

double shortest(float real)
{
    constexpr float exact_below = 1 << 24;
    if (!std::isfinite(real) || (std::abs(real) < exact_below && real == std::trunc(real)))
    {
        return static_cast<double>(real);
    }
    std::array<char, 32> text{};
    auto const written = std::to_chars(text.begin(), text.end(), real);
    auto number = static_cast<double>(real);
    std::from_chars(text.begin(), written.ptr, number);
    return number;
}

Outcome decode_number(Address const& address, std::span<std::uint16_t const> cells, Value& value)
{
    auto const bits = get(address, cells);
    switch (address.type)
    {
    case Type::BOOL:
        value = Value(address.is_bit_of_register() ? (bits >> address.bit & 1U) != 0 : bits != 0);
        break;
    case Type::INT16:
        value = integer(static_cast<std::int16_t>(bits));
        break;
    case Type::INT32:
        value = integer(static_cast<std::int32_t>(bits));
        break;
    case Type::REAL32:
        value = Value(shortest(std::bit_cast<float>(static_cast<std::uint32_t>(bits))));
        break;
    case Type::REAL64:
        value = Value(std::bit_cast<double>(bits));
        break;
    case Type::UINT64:
        if (bits > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
        {
            return {ModbusResult::OUT_OF_RANGE,
                    "The registers hold " + std::to_string(bits) + ", which is beyond the largest int64"};
        }
        [[fallthrough]];
    default:
        value = integer(static_cast<std::int64_t>(bits));
    }
    return {};
}

} // namespace

Outcome encode(Address const& address, Value const& value, std::span<std::uint16_t> cells)
{
    switch (address.type)
    {
    case Type::BOOL:
        return encode_bool(address, value, cells);
    case Type::REAL32:
    case Type::REAL64:
        return encode_real(address, value, cells);
    case Type::STRING:
        return encode_text(address, value, cells);
    default:
        return encode_integer(address, value, cells);
    }
}

Outcome decode(Address const& address, std::span<std::uint16_t const> cells, Value& value)
{
    return address.type == Type::STRING ? decode_text(address, cells, value) : decode_number(address, cells, value);
}

} // namespace Modbus
