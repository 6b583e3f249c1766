#pragma once

#include "RavikSrvExtApi.h"

#include <string>

namespace Ravik::CommandLine
{

/// A schema in a few words for a table: the name of a general type, else the type with its bounds ("number 0..3000") or
/// its permitted values; "any" for none.
std::string schema_text(RavikSrv::Value const& schema);

} // namespace Ravik::CommandLine
