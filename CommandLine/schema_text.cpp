#include "schema_text.h"

#include "Json/Json.h"

#include <vector>

namespace Ravik::CommandLine
{

namespace
{

using RavikSrv::Value;
using RavikSrv::ValueType;

std::string reference_text(Value const& reference)
{
    auto const text = std::string(reference.get_text());
    return text.substr(text.rfind('/') + 1);
}

std::string types_text(Value const& type)
{
    if (type.type() != ValueType::Vector)
    {
        return std::string(type.get_text());
    }
    std::string text;
    for (auto each = type.begin_vector(); each != type.end_vector(); ++each)
    {
        text.append(text.empty() ? "" : " or ").append(each->get_text());
    }
    return text;
}

std::string values_text(Value const& values)
{
    std::string text;
    for (auto each = values.begin_vector(); each != values.end_vector(); ++each)
    {
        text += (text.empty() ? "" : ", ") + Json::write(*each);
    }
    return "one of " + text;
}

std::string bound_text(Value const& bound)
{
    return bound.isset() ? Json::write(bound) : std::string();
}

/// "0..3000", "0..", "..3000"; bounds that are not part of the range stand before or behind a sign.
std::string bounds_text(Value const& schema)
{
    std::string text;
    auto const least = bound_text(schema["minimum"]);
    auto const most = bound_text(schema["maximum"]);
    if (!least.empty() || !most.empty())
    {
        text.append(" ").append(least).append("..").append(most);
    }
    auto const above = bound_text(schema["exclusiveMinimum"]);
    auto const below = bound_text(schema["exclusiveMaximum"]);
    text += above.empty() ? "" : " > " + above;
    text += below.empty() ? "" : " < " + below;
    return text;
}

std::string kind_text(Value const& schema)
{
    if (schema["$ref"].isset())
    {
        return reference_text(schema["$ref"]);
    }
    if (schema["enum"].isset())
    {
        return values_text(schema["enum"]);
    }
    if (schema["const"].isset())
    {
        return Json::write(schema["const"]);
    }
    return types_text(schema["type"]);
}

} // namespace

std::string schema_text(Value const& schema)
{
    if (schema.type() == ValueType::Bool)
    {
        return schema.get_bool() ? "any" : "none";
    }
    if (schema.empty())
    {
        return "any";
    }
    auto const kind = kind_text(schema);
    auto const bounds = bounds_text(schema);
    if (kind.empty())
    {
        return bounds.empty() ? "schema" : "number" + bounds;
    }
    return kind == "array" && schema["items"].type() == ValueType::Map ? "array of " + kind_text(schema["items"])
                                                                       : kind + bounds;
}

} // namespace Ravik::CommandLine
