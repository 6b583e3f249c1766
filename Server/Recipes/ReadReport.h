#pragma once

#include "Recipes/RecipeOutcome.h"

#include "RavikSrvExtApi.h"

#include <string>
#include <vector>

namespace Ravik
{

/// What is known of a value that a recipe stores.
enum class ValueState
{
    /// The controller holds it, or another.
    Same,
    Differs,
    /// It could not be read.
    Unread,
    /// It names a recipe.
    NestedRecipe,
    /// The recipe's type has no member of this name.
    NoMember,
    /// It differed and was put into the recipe.
    Saved,
};

/// The state as people and programs read it: "same", "no member".
char const* name_of(ValueState state);

/// A value of a recipe beside what the controller holds.
struct ValueRow
{
    std::string symbol;
    std::string domain;
    std::string member;
    RavikSrv::Value stored;
    /// What was read; null where nothing was.
    RavikSrv::Value live;
    ValueState state = ValueState::Same;
    /// Why it could not be read.
    std::string text;
};

using ValueRows = std::vector<ValueRow>;

/// A recipe beside what the controllers hold: a row for each of its values in their order or, where it could not be
/// read, one for each symbol at fault.
struct ReadReport : RecipeOutcome
{
    ValueRows rows{};
};

} // namespace Ravik
