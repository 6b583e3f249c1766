#pragma once

#include "api_helper.h"

#include <cstddef>

namespace RecipeManagement
{

/// How many levels of inherited and nested types, and of nested recipes, a walk follows.
inline constexpr unsigned long recursion_limit = 20;

/// How many records, and how many names of types, one walk may reach. Types that nest others several times grow
/// exponentially with their levels; a request stops here before it has used up memory and patience.
inline constexpr std::size_t walk_limit = 1'000'000;

inline bool is_too_deep(unsigned long depth)
{
    return depth + 1 > recursion_limit;
}

/// The answer of a walk that reaches beyond `walk_limit`.
inline RavikSrv::ResultPair too_large()
{
    auto constexpr error = RavikSrv::ErrorValue::REQUEST_TOO_LARGE;
    return {error, RavikSrv::get_error_string(error).name()};
}

} // namespace RecipeManagement
