#pragma once

#include "Support/api_types.h"

#include <initializer_list>
#include <string_view>
#include <utility>

namespace Ravik::Test
{

/// A map, or what else has names, of these entries.
inline Value map(std::initializer_list<std::pair<char const*, Value>> entries, ValueType type = ValueType::Map)
{
    Value result(type);
    for (auto const& [name, value] : entries)
    {
        result.insert(name, value);
    }
    return result;
}

/// What comes of putting a value around the value so many times.
template <typename Around> Value nested(Value value, int depth, Around const& around)
{
    for (int level = 0; level < depth; ++level)
    {
        value = around(value);
    }
    return value;
}

inline Value binary(std::string_view bytes)
{
    Value value;
    value.set_binary(bytes);
    return value;
}

} // namespace Ravik::Test
