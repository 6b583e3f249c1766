#pragma once

#include "Recipes/ActiveReport.h"
#include "Recipes/RecipeAccess.h"

#include <string>
#include <vector>

namespace Ravik
{

/// Which of the recipes are active, of all where none is named.
ActiveReport active_recipes(RecipeAccess const& access, std::vector<std::string> const& recipes,
                            ActiveOptions const& options);

} // namespace Ravik
