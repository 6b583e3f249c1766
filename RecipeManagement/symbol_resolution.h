#pragma once

#include "SymbolList.h"
#include "recipe_result.h"

#include <string>
#include <vector>

/// Turning a recipe into the records of its symbols. Nothing here calls the host.
namespace RecipeManagement
{

/// Appends the records of a recipe's type, with all types that it inherits and nests, to `symbols` and lays the
/// recipe's values over them. `recipe_path` becomes the full path. A `recipe` that is not null takes the place of the
/// recipe stored at `recipe_name`. A `config` that is only part of the configuration is replaced by the type found in
/// it. After a failure the records mean nothing.
[[nodiscard]] ResultPair get_symbol_data(Value& config, std::string& recipe_path, SymbolList& symbols,
                                         Value const& recipe, std::string const& recipe_name);

/// Tells for each symbol who serves it, and appends the distinct domains in the order in which they are met. Returns
/// `SYMBOL_NOT_MAPPED` at the first symbol that is not in the table. The records refer to the table from then on.
[[nodiscard]] RecipeResult symboldata_from_srv_config(SymbolList& symbols, std::vector<std::string>& domains,
                                                      Value const& symbol_mapping);

} // namespace RecipeManagement
