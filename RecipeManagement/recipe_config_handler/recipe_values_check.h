#pragma once

#include "Call.h"

#include <string>

namespace RecipeManagement
{

/// Whether the values of a recipe, to be stored at `path`, fit the symbols and members of its type, which `config`
/// holds.
[[nodiscard]] ResultPair validate_recipe_values(Call const& call, Value const& config, std::string const& path,
                                                Value const& recipe);

} // namespace RecipeManagement
