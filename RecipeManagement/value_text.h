#pragma once

#include "RavikSrvExtApi.h"

namespace RecipeManagement
{

/// The text of a string, owned by the value; an empty text for a value of any other type.
inline char const* text_of(RavikSrv::Value const& value)
{
    return value.type() == RavikSrv::ValueType::String ? value.get_string() : "";
}

} // namespace RecipeManagement
