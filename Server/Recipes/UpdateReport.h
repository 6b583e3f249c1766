#pragma once

#include "History/Origin.h"
#include "Recipes/RecipeOutcome.h"

#include <atomic>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace Ravik
{

/// How to update recipes.
struct UpdateOptions
{
    /// What was asked is told recipe by recipe, whatever stands here.
    Origin origin{};
    /// Told before each recipe how many are done out of how many; may be empty.
    std::function<void(std::size_t done, std::size_t total)> progress{};
    /// Once it is set, no further recipe is updated. May be null.
    std::atomic<bool> const* stop = nullptr;
};

enum class UpdateState
{
    Updated,
    /// It fitted its type already.
    Same,
    Failed,
};

/// The state as people and programs read it: "updated".
char const* name_of(UpdateState state);

/// What became of a recipe. Of one that failed the text is the failure's name and text.
struct UpdateRow : RecipeOutcome
{
    std::string recipe{};
    UpdateState state = UpdateState::Same;
    /// What was changed in it, a text each.
    std::vector<std::string> info{};
};

struct [[nodiscard]] UpdateReport
{
    /// In the order in which they were asked for, each once. Without those that a stop kept from being updated.
    std::vector<UpdateRow> rows{};
    bool stopped = false;
};

} // namespace Ravik
