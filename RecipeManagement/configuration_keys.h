#pragma once

#include <string>

namespace RecipeManagement
{

/// The names that stand in the extension's configuration and in the server's symbol table.
namespace Key
{

// The configuration's two lists.
inline constexpr char const* recipe_type_list = "recipeTypeList";
inline constexpr char const* recipe_list = "recipeList";

// A recipe type.
inline constexpr char const* members = "members";
inline constexpr char const* recipe_type_names = "recipeTypeNames";
inline constexpr char const* options = "options";

// A member of a recipe type; the options of a type hold "enabled" as well.
inline constexpr char const* symbol = "symbol";
inline constexpr char const* schema = "schema";
inline constexpr char const* default_value = "defaultValue";
inline constexpr char const* enabled = "enabled";
inline constexpr char const* recipe_type = "recipeType";

// A recipe.
inline constexpr char const* recipe_type_name = "recipeTypeName";
inline constexpr char const* values = "values";

// An entry of the symbol table.
inline constexpr char const* domain = "DOMAIN";
inline constexpr char const* use_mapping = "USEMAPPING";
inline constexpr char const* symbol_schema = "SCHEMA";

// A schema.
inline constexpr char const* items = "items";
inline constexpr char const* properties = "properties";
inline constexpr char const* definitions = "definitions";

// The settings of a configuration listener.
inline constexpr char const* flags = "flags";
inline constexpr char const* paths = "paths";

// The parameters of the requests.
inline constexpr char const* path = "path";
inline constexpr char const* recipe_type_path = "recipeTypePath";

// What UpdateRecipe tells.
inline constexpr char const* info = "info";

} // namespace Key

/// The types of entries as the server's notifications name them.
namespace SchemaType
{

inline constexpr char const* recipe = "recipe";
inline constexpr char const* recipe_type = "recipeType";
/// What the names of the server's own types begin with.
inline constexpr char const* server_prefix = "ravik:server";

} // namespace SchemaType

/// The server's own domain, and the path of the symbol table in its configuration.
inline constexpr char const* server_domain = "RavikSrv";
inline constexpr char const* symbol_table_path = "SYMBOLS";

/// What the "enabled" option of a recipe type says to switch the whole type off.
inline constexpr char const* type_disabled = "Disabled";

/// `path`, the path separator, `name`.
std::string join_path(std::string const& path, std::string const& name);

/// The configuration path of the recipe type `name`, which may lie in folders and is not checked.
std::string add_path_recipetypelist(std::string const& name);

/// The configuration path of the recipe `name`, which may lie in folders and is not checked.
std::string add_path_recipelist(std::string const& name);

/// The names by which recipe types name the recipe type, and recipes and clients the recipe, at a configuration path.
std::string relative_recipetype_name(std::string path);
std::string relative_recipe_name(std::string path);

} // namespace RecipeManagement
