#pragma once

#include "RavikSrvExtApi.h"

namespace Ravik::Service
{

/// What a merge patch (RFC 7396) makes of the target: names with null are removed, objects are merged, everything else
/// takes the place of what stood there. Names keep their order, new ones come last.
RavikSrv::Value merged(RavikSrv::Value const& target, RavikSrv::Value const& patch);

} // namespace Ravik::Service
