#include "Client/ByteReader.h"

#include "Client/ByteWriter.h"

#include "RavikSrvExt/MapBuilder.h"

#include <bit>
#include <limits>
#include <utility>

namespace Ravik::Wire
{

using RavikSrv::Value;
using RavikSrv::ValueType;

std::uint8_t ByteReader::byte()
{
    if (m_rest.empty())
    {
        throw BrokenMessage("the message ends too early");
    }
    auto const value = static_cast<std::uint8_t>(m_rest.front());
    m_rest.remove_prefix(1);
    return value;
}

bool ByteReader::truth()
{
    auto const value = byte();
    if (value > 1)
    {
        throw BrokenMessage("a truth value is neither true nor false");
    }
    return value == 1;
}

std::uint64_t ByteReader::number()
{
    std::uint64_t value = 0;
    for (unsigned shift = 0; shift < 64; shift += 7)
    {
        std::uint64_t const group = byte();
        value |= (group & 0x7FU) << shift;
        if (group < 0x80U)
        {
            auto const is_whole = shift < 63 || group <= 1;
            return is_whole ? value : throw BrokenMessage("a number has more than 64 bits");
        }
    }
    throw BrokenMessage("a number has no end");
}

std::uint64_t ByteReader::number(std::uint64_t highest)
{
    auto const value = number();
    return value <= highest ? value : throw BrokenMessage("a number is too large");
}

double ByteReader::real()
{
    std::uint64_t bits = 0;
    for (unsigned shift = 0; shift < 64; shift += 8)
    {
        bits |= std::uint64_t{byte()} << shift;
    }
    return std::bit_cast<double>(bits);
}

std::string_view ByteReader::text()
{
    auto const text = m_rest.substr(0, count());
    m_rest.remove_prefix(text.size());
    return text;
}

void ByteReader::expect_end() const
{
    if (!m_rest.empty())
    {
        throw BrokenMessage("the message is longer than it should be");
    }
}

// Values --------------------------------------------------------------------------------------------------------------

namespace
{

Value int_value(std::int64_t number)
{
    if (number < std::numeric_limits<std::int32_t>::min() || number > std::numeric_limits<std::int32_t>::max())
    {
        throw BrokenMessage("a number does not fit its type");
    }
    return {static_cast<std::int32_t>(number)};
}

Value binary_value(std::string_view bytes)
{
    Value value(ValueType::Binary);
    value.set_binary(bytes);
    return value;
}

} // namespace

Value ByteReader::read(int depth, Value const* model)
{
    if (depth > deepest_value)
    {
        throw BrokenMessage("a value is nested too deep");
    }
    auto const type = static_cast<ValueType>(number(std::numeric_limits<std::uint16_t>::max()));
    auto const integer = [&] { return static_cast<std::int64_t>(number()); };
    switch (type)
    {
    case ValueType::Null:
    case ValueType::Any:
        return Value(type);
    case ValueType::Bool:
        return {truth()};
    case ValueType::Int:
        return int_value(integer());
    case ValueType::Int64:
        return {long{integer()}};
    case ValueType::DateTime:
        return {RavikSrv::Timestamp{integer()}};
    case ValueType::TimeSpan:
        return {RavikSrv::Timespan{integer()}};
    case ValueType::Double:
        return {real()};
    case ValueType::String:
        return Value(text());
    case ValueType::Binary:
        return binary_value(text());
    case ValueType::Vector:
        return read_vector(depth);
    case ValueType::Map:
    case ValueType::Struct:
    case ValueType::Event:
    case ValueType::Message:
    case ValueType::Alarm:
    {
        auto map = read_map(depth, model);
        map.convert(type);
        return map;
    }
    }
    throw BrokenMessage("a value is of no type");
}

Value ByteReader::read_vector(int depth)
{
    auto const size = count();
    Value vector(ValueType::Vector);
    vector.reserve(size);
    Value last;
    for (std::size_t index = 0; index < size; ++index)
    {
        last = read(depth + 1, &last);
        vector << last;
    }
    return vector;
}

/// Maps of one shape share their names, as those do that are read from text: a value that is sent stays in the service.
Value ByteReader::read_map(int depth, Value const* model)
{
    static Value const none;
    auto const size = count();
    auto const& resembled = model != nullptr && model->size() == size ? *model : none;
    RavikSrv::MapBuilder builder(resembled);
    auto sibling = resembled.begin();
    Value last;
    for (std::size_t index = 0; index < size; ++index)
    {
        auto const name = text();
        auto const is_alike = sibling != resembled.end() && sibling.name() == name;
        last = read(depth + 1, is_alike ? &*sibling : &last);
        if (sibling != resembled.end())
        {
            ++sibling;
        }
        auto const is_name = name.find('\0') == std::string_view::npos;
        if (!is_name || !builder.insert(name, Value(last)))
        {
            throw BrokenMessage("a name stands twice in a map, or is none");
        }
    }
    return builder.finish();
}

} // namespace Ravik::Wire
