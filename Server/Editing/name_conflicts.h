#pragma once

#include "Configuration/expectation.h"
#include "Editing/Refusal.h"
#include "RavikSrvExtApi.h"

namespace Ravik
{

/// Whether the new name of a renamed member or recipe type is free wherever values are found by it: in the type itself,
/// in those that inherit or nest it, and in the recipes of all of these. Otherwise a value would come to belong to
/// something else than before. `ID_IN_USE` with the path of what has the name. Takes time linear in the configuration.
Refusal check_new_names(Move const& move, RavikSrv::Value const& tree);

} // namespace Ravik
