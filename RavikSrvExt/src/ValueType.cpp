#include "RavikSrvExt/ValueType.h"

namespace RavikSrv
{

char const* get_type_string(ValueType type) noexcept
{
    switch (type)
    {
    case ValueType::Bool:
        return "bool";
    case ValueType::Int:
        return "int";
    case ValueType::Double:
        return "double";
    case ValueType::String:
        return "string";
    case ValueType::Vector:
        return "vector";
    case ValueType::Map:
        return "map";
    case ValueType::Struct:
        return "struct";
    case ValueType::Binary:
        return "binary";
    case ValueType::Int64:
        return "int64";
    case ValueType::DateTime:
        return "date-time";
    case ValueType::TimeSpan:
        return "timespan";
    case ValueType::Event:
        return "event";
    case ValueType::Message:
        return "message";
    case ValueType::Alarm:
        return "alarm";
    case ValueType::Any:
        return "any";
    default:
        return "null";
    }
}

} // namespace RavikSrv
