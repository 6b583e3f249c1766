#pragma once

#include <string_view>

namespace Ravik
{

/// The domain of the server itself; no extension may take it.
inline constexpr std::string_view server_domain = "RavikSrv";

/// The domain of the recipe management, unless a command names another.
inline constexpr std::string_view recipe_domain = "RavikRecipeManagement";

/// The names that stand in the configurations of the recipe management and of the server.
namespace Key
{

// The two lists of a recipe configuration. Whatever else a configuration holds has no entries.
inline constexpr char const* recipe_type_list = "recipeTypeList";
inline constexpr char const* recipe_list = "recipeList";

// A recipe type.
inline constexpr char const* members = "members";
inline constexpr char const* recipe_type_names = "recipeTypeNames";
inline constexpr char const* options = "options";

// A member of a recipe type.
inline constexpr char const* symbol = "symbol";
inline constexpr char const* recipe_type = "recipeType";
inline constexpr char const* member_schema = "schema";
inline constexpr char const* default_value = "defaultValue";
inline constexpr char const* enabled = "enabled";

// A recipe.
inline constexpr char const* recipe_type_name = "recipeTypeName";
inline constexpr char const* values = "values";

// The server's own configuration: the symbol table, and the values of its variables.
inline constexpr char const* symbols = "SYMBOLS";
inline constexpr char const* variables = "values";

// An entry of the symbol table.
inline constexpr char const* domain = "DOMAIN";
inline constexpr char const* mapping = "MAPPING";
inline constexpr char const* use_mapping = "USEMAPPING";
inline constexpr char const* schema = "SCHEMA";
inline constexpr char const* tolerance = "TOLERANCE";
inline constexpr char const* verify = "VERIFY";

} // namespace Key

} // namespace Ravik
