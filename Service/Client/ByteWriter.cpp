#include "Client/ByteWriter.h"

#include "Client/BrokenMessage.h"

#include <bit>

namespace Ravik::Wire
{

using RavikSrv::Value;
using RavikSrv::ValueType;

void ByteWriter::number(std::uint64_t value)
{
    for (; value >= 0x80U; value >>= 7U)
    {
        byte(static_cast<std::uint8_t>(value | 0x80U));
    }
    byte(static_cast<std::uint8_t>(value));
}

void ByteWriter::real(double value)
{
    auto const bits = std::bit_cast<std::uint64_t>(value);
    for (unsigned shift = 0; shift < 64; shift += 8)
    {
        byte(static_cast<std::uint8_t>(bits >> shift));
    }
}

void ByteWriter::text(std::string_view text)
{
    number(text.size());
    m_bytes += text;
}

void ByteWriter::write(Value const& value, int depth)
{
    if (depth > deepest_value)
    {
        throw BrokenMessage("a value is nested too deep");
    }
    number(static_cast<std::uint64_t>(value.type()));
    switch (value.type())
    {
    case ValueType::Null:
    case ValueType::Any:
        break;
    case ValueType::Bool:
        byte(value.get_bool() ? 1 : 0);
        break;
    case ValueType::Int:
    case ValueType::Int64:
        number(static_cast<std::uint64_t>(value.get_int64()));
        break;
    case ValueType::DateTime:
        number(static_cast<std::uint64_t>(value.get_timestamp().microseconds));
        break;
    case ValueType::TimeSpan:
        number(static_cast<std::uint64_t>(value.get_timespan().microseconds));
        break;
    case ValueType::Double:
        real(value.get_double());
        break;
    case ValueType::String:
        text(value.get_text());
        break;
    case ValueType::Binary:
        text(value.get_binary());
        break;
    case ValueType::Vector:
        number(value.size());
        for (auto element = value.begin_vector(); element != value.end_vector(); ++element)
        {
            write(*element, depth + 1);
        }
        break;
    case ValueType::Map:
    case ValueType::Struct:
    case ValueType::Event:
    case ValueType::Message:
    case ValueType::Alarm:
        number(value.size());
        for (auto entry = value.begin(); entry != value.end(); ++entry)
        {
            text(entry.name());
            write(*entry, depth + 1);
        }
        break;
    }
}

} // namespace Ravik::Wire
