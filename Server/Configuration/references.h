#pragma once

#include "RavikSrvExtApi.h"

#include <functional>
#include <string>
#include <vector>

namespace Ravik
{

/// A place of a recipe configuration that names another one.
struct Reference
{
    enum class Kind
    {
        /// A recipe's "recipeTypeName" names its recipe type.
        RecipeType,
        /// An element of a type's "recipeTypeNames" names a type that it inherits.
        InheritedType,
        /// A member's "recipeType" names the type that it nests.
        NestedType,
        /// A recipe's value for a member that nests a type names a recipe.
        NestedRecipe,
        /// A recipe's value stands under the name of a member of its type.
        ValueMember,
    };

    Kind kind = Kind::RecipeType;
    /// The full path of the place that holds the name.
    std::string holder;
    /// The full path of what is named, whether or not there is anything.
    std::string target;
    bool found = false;
    /// For a nested recipe: the full path of the member that the value stands for.
    std::string member{};
};

/// The word for a person: "recipe type", "inherited type", …
char const* to_text(Reference::Kind kind) noexcept;

/// All references of the configuration, in the order of the tree. A member is found as the resolution of symbols finds
/// it: the first of that name among the inherited types, the type's own members and the types that these nest. Values
/// of a recipe whose type is missing refer to nothing. Takes time linear in the configuration and, for each type, in
/// what it inherits and nests.
std::vector<Reference> read_references(RavikSrv::Value const& tree);

/// The same, only those for which `keep(reference)` holds.
std::vector<Reference> read_references(RavikSrv::Value const& tree, std::function<bool(Reference const&)> keep);

} // namespace Ravik
