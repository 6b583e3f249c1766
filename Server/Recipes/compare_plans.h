#pragma once

#include "Activation/Activation.h"

#include <string>

namespace Ravik
{

/// A plan beside another, both without what stands in the controllers: a row for each symbol of either, those of the
/// first in its order, `before` being the other's value. `recipe` and `other` are the recipes' names.
ActivationReport compare_plans(ActivationReport left, ActivationReport const& right, std::string const& recipe,
                               std::string const& other);

} // namespace Ravik
