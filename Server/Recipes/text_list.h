#pragma once

#include "RavikSrvExtApi.h"

#include <string>
#include <vector>

namespace Ravik
{

/// The elements of a list as texts, and the reverse.
std::vector<std::string> texts_of(RavikSrv::Value const& list);
RavikSrv::Value text_values(std::vector<std::string> const& texts);

} // namespace Ravik
