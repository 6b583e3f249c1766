#pragma once

#include "Execution/SymbolTable.h"
#include "RavikSrvExtApi.h"

#include <string>

namespace Ravik
{

/// Which symbols a call of the recipe management asks for in vain, for a person; empty where it finds none. An
/// extension tells only that there is one. `parameters` are those of the call: an object with the recipe's "path", a
/// list of recipes, or nothing for all; `tree` is the recipe management's configuration.
std::string unmapped_symbols_text(RavikSrv::Value const& parameters, RavikSrv::Value const& tree,
                                  SymbolTable const& symbols);

} // namespace Ravik
