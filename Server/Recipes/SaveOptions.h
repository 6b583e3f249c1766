#pragma once

#include "Editing/EditOptions.h"

#include <string>

namespace Ravik
{

/// How to store into a recipe what the controllers hold.
struct SaveOptions
{
    /// The recipe to store it into; empty for the one that is read.
    std::string target{};
    /// Whether a target that stands there already, and is not the recipe that is read, is replaced.
    bool replace = false;
    Origin origin{};
    /// Of what stands at the target.
    Condition condition{};
};

} // namespace Ravik
