#pragma once

#include "Editing/EditOptions.h"
#include "Editing/Refusal.h"
#include "RavikSrvExtApi.h"

#include <cstdint>
#include <string>

namespace Ravik
{

/// Why the condition does not hold of what stands at the path (null: nothing), no refusal where it does: `UNIQUE` where
/// something stands there that must not, `ENTRY_NOT_FOUND` where nothing does, `STORAGE_CONSTRAINT` where it has
/// changed.
Refusal check_condition(Condition const& condition, std::string const& path, RavikSrv::Value const* present);

/// The same of the revision that an import asks for, `STORAGE_CONSTRAINT`.
Refusal check_revision(ImportOptions const& options, std::int64_t revision);

} // namespace Ravik
