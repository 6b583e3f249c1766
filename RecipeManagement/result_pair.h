#pragma once

#include "recipe_result.h"

#include "RavikSrvExtApi.h"

namespace RecipeManagement
{

inline bool failed(RavikSrv::ResultPair const& result) noexcept
{
    return result.result() != RavikSrv::ErrorValue::SUCCESS;
}

/// A failure whose text is the name of one of the extension's own results.
inline RavikSrv::ResultPair failure(RavikSrv::ErrorValue error, RecipeResult text)
{
    return {error, result_name(text)};
}

} // namespace RecipeManagement
