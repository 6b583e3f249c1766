#include "Schema/builtin_definitions.h"

#include <array>
#include <cstdint>
#include <limits>

namespace Ravik::Schema
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

struct Definition
{
    char const* name;
    char const* type;
    Value minimum = {};
    Value maximum = {};
};

template <typename T> Definition integer(char const* name)
{
    return {name, "integer", static_cast<long>(std::numeric_limits<T>::min()),
            static_cast<long>(std::numeric_limits<T>::max())};
}

template <typename T> Definition real(char const* name)
{
    return {name, "number", double{std::numeric_limits<T>::lowest()}, double{std::numeric_limits<T>::max()}};
}

Value make_document()
{
    std::array const definitions{
        Definition{"BOOL", "boolean"},
        integer<std::int8_t>("SINT"),
        integer<std::uint8_t>("USINT"),
        integer<std::int16_t>("INT"),
        integer<std::uint16_t>("UINT"),
        integer<std::int32_t>("DINT"),
        integer<std::uint32_t>("UDINT"),
        integer<std::int64_t>("LINT"),
        Definition{"ULINT", "integer", 0, std::numeric_limits<std::int64_t>::max()},
        real<float>("REAL"),
        real<float>("REAL32"),
        real<double>("LREAL"),
        real<double>("REAL64"),
        Definition{"STRING", "string"},
    };
    Value all(ValueType::Map);
    for (auto const& definition : definitions)
    {
        Value schema(ValueType::Map);
        schema.insert("type", Value(definition.type));
        schema.insert("minimum", definition.minimum);
        schema.insert("maximum", definition.maximum);
        all.insert(definition.name, schema);
    }
    Value document(ValueType::Map);
    document.insert("definitions", all);
    return document;
}

} // namespace

Value const& builtin_document()
{
    static Value const document = make_document();
    return document;
}

} // namespace Ravik::Schema
