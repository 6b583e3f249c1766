#pragma once

#include "recipe_result.h"

#include "api_types.h"

namespace RecipeManagement
{

inline bool failed(ResultPair const& result) noexcept
{
    return result.result() != ErrorValue::SUCCESS;
}

/// A failure whose text is the name of one of the extension's own results.
inline ResultPair failure(ErrorValue error, RecipeResult text)
{
    return {error, result_name(text)};
}

} // namespace RecipeManagement
