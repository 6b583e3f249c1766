#pragma once

#include "RavikSrvExtApi.h"

#include <string>

namespace Ravik
{

/// A text, in hexadecimal digits, that changes with everything about the value that its JSON text tells: the order of
/// its entries, and 3.0 instead of 3. A folder's covers all that it holds. Takes time in proportion to the value.
std::string entry_tag(RavikSrv::Value const& value);

} // namespace Ravik
