#pragma once

#include "api_types.h"

#include "api_helper.h"

#include <cstddef>

namespace RecipeManagement
{

/// How many levels of inherited and nested types, and of nested recipes, a walk follows.
inline constexpr unsigned long recursion_limit = 20;

/// How many records, or names of types, one walk may make. Types that nest others several times grow exponentially with
/// their levels; a request stops here before it has used up memory and patience.
inline constexpr std::size_t walk_limit = 1'000'000;

[[nodiscard]] inline bool is_too_deep(unsigned long depth)
{
    return depth + 1 > recursion_limit;
}

/// The result of a walk that goes beyond `walk_limit`.
[[nodiscard]] inline ResultPair too_large()
{
    auto constexpr error = ErrorValue::REQUEST_TOO_LARGE;
    return {error, RavikSrv::get_error_string(error).name()};
}

} // namespace RecipeManagement
