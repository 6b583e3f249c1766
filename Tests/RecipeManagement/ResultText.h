#pragma once

#include "api_helper.h"

#include <string>

namespace Ravik::Test
{

/// An answer as text: "NAME | text".
inline std::string text_of(RavikSrv::ResultPair const& result)
{
    return std::string(RavikSrv::get_error_string(result.result()).name()) + " | " + result.text();
}

} // namespace Ravik::Test
