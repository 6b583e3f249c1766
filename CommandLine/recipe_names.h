#pragma once

#include "Project/Project.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Ravik::CommandLine
{

/// The recipe management's configuration; null where the project has none.
RavikSrv::Value recipe_configuration(Project const& project);

/// The names, folders included, of the recipe types or of the recipes in a configuration.
std::vector<std::string> recipe_type_names(RavikSrv::Value const& configuration);
std::vector<std::string> recipe_names(RavikSrv::Value const& configuration);

/// "1 recipe type and 2 recipes", as a configuration holds them.
std::string recipe_counts(RavikSrv::Value const& configuration);

/// "1 symbol", "2 symbols": for nouns that take an s.
std::string counted(std::size_t count, std::string const& noun);

} // namespace Ravik::CommandLine
