#pragma once

/// The recipe management's requests.
namespace Ravik
{

/// The functions.
namespace Function
{

inline constexpr char const* activate_recipe = "ActivateRecipe";
inline constexpr char const* read_from_target = "ReadFromTarget";
inline constexpr char const* update_recipe = "UpdateRecipe";
inline constexpr char const* get_recipes = "GetRecipes";
inline constexpr char const* get_active_recipes = "GetActiveRecipes";

} // namespace Function

/// What they take.
namespace Parameter
{

/// The name of a recipe, with its folders.
inline constexpr char const* path = "path";
/// The name of a recipe type, with its folders.
inline constexpr char const* recipe_type_path = "recipeTypePath";

} // namespace Parameter

/// What they return beside recipes.
namespace Returned
{

/// A list of texts on what an update did.
inline constexpr char const* info = "info";

} // namespace Returned

} // namespace Ravik
