#include "Recipes/ReadReport.h"

#include <algorithm>
#include <array>
#include <utility>

namespace Ravik
{

char const* name_of(ValueState state)
{
    constexpr std::array<std::pair<ValueState, char const*>, 6> names{{
        {ValueState::Same, "same"},
        {ValueState::Differs, "differs"},
        {ValueState::Unread, "unread"},
        {ValueState::NestedRecipe, "nested recipe"},
        {ValueState::NoMember, "no member"},
        {ValueState::Saved, "saved"},
    }};
    return std::find_if(names.begin(), names.end(), [state](auto const& entry) { return entry.first == state; })
        ->second;
}

} // namespace Ravik
