#pragma once

#include "api_types.h"

namespace RecipeManagement
{

/// The text of a string, owned by the value; an empty text for a value of any other type.
inline char const* text_of(Value const& value)
{
    return value.type() == ValueType::String ? value.get_string() : "";
}

} // namespace RecipeManagement
