#pragma once

#include "Recipes/RecipeOutcome.h"

#include <atomic>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace Ravik
{

struct ActiveOptions
{
    /// Told how many recipes were looked at out of how many, where they are looked at one by one; may be empty.
    std::function<void(std::size_t done, std::size_t total)> progress{};
    /// Once it is set, no further recipe is looked at. May be null.
    std::atomic<bool> const* stop = nullptr;
};

/// A recipe of which nobody knows whether it is active.
struct UnreadRecipe
{
    std::string recipe;
    /// The name and text of the failure.
    std::string text;
};

/// Which recipes are active. Where not everything could be read the outcome is that of reading all together, and each
/// recipe was looked at on its own.
struct ActiveReport : RecipeOutcome
{
    std::vector<std::string> active{};
    std::vector<UnreadRecipe> unread{};
    /// How many were asked about one by one, 0 where that was not needed.
    std::size_t looked_at = 0;
    /// Stopped before all of them were.
    bool stopped = false;
};

} // namespace Ravik
