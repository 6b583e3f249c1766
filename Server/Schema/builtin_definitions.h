#pragma once

#include "RavikSrvExtApi.h"

#include <string_view>

namespace Ravik::Schema
{

/// The URI of the definitions that every schema may refer to, as in `ravik:general#/definitions/REAL`.
inline constexpr std::string_view builtin_uri = "ravik:general";

/// The document with them: the elementary data types of controllers under "definitions". An integer type has the range
/// of its size; ULINT ends at the largest int64, since no value holds more.
RavikSrv::Value const& builtin_document();

} // namespace Ravik::Schema
