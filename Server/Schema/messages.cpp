#include "Schema/messages.h"

#include "Schema/json_equality.h"

#include <algorithm>

namespace Ravik::Schema
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

constexpr std::size_t text_limit = 60;
constexpr std::size_t name_limit = 200;
constexpr std::size_t list_limit = 6;

} // namespace

std::string location_text(std::string_view path, InstanceLocation const& location)
{
    std::vector<InstanceLocation const*> steps;
    for (auto const* step = &location; step->parent != nullptr; step = step->parent)
    {
        steps.push_back(step);
    }
    std::reverse(steps.begin(), steps.end());
    std::string text(path);
    for (auto const* const step : steps)
    {
        if (step->name == nullptr)
        {
            text.append("[").append(std::to_string(step->index)).append("]");
            continue;
        }
        text += text.empty() ? "" : "::";
        text += shortened(step->name, name_limit);
    }
    return text;
}

std::string with_location(std::string_view location, std::string_view text)
{
    std::string all(location);
    all += location.empty() ? "" : ": ";
    return all.append(text);
}

std::string describe(Value const& value)
{
    switch (json_type(value))
    {
    case JsonType::NIL:
        return "null";
    case JsonType::BOOLEAN:
    case JsonType::NUMBER:
    {
        Value text = value;
        text.convert(ValueType::String);
        return std::string(text.get_text());
    }
    case JsonType::STRING:
        return value.type() == ValueType::Binary ? "binary data" : quoted(TextOf(value).view());
    case JsonType::ARRAY:
        return value.size() == 0 ? "an empty list" : "a list";
    case JsonType::OBJECT:
        return value.size() == 0 ? "an empty object" : "an object";
    case JsonType::NONE:
        break;
    }
    return "a value without content";
}

std::string describe_list(std::vector<Value> const& values)
{
    std::string text;
    for (std::size_t position = 0; position < std::min(values.size(), list_limit); ++position)
    {
        text += (position == 0 ? "" : ", ") + describe(values[position]);
    }
    return values.size() > list_limit ? text + ", …" : text;
}

std::string quoted(std::string_view text)
{
    auto inside = shortened(text, text_limit);
    std::replace_if(
        inside.begin(), inside.end(), [](char byte) { return static_cast<unsigned char>(byte) < ' '; }, ' ');
    return std::string("\"").append(inside).append("\"");
}

std::string shortened(std::string_view text, std::size_t limit)
{
    if (text.size() <= limit)
    {
        return std::string(text);
    }
    auto end = limit;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U)
    {
        --end;
    }
    return std::string(text.substr(0, end)) + "…";
}

} // namespace Ravik::Schema
