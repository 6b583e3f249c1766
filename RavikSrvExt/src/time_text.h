#pragma once

#include "RavikSrvExt/ValueType.h"

#include <optional>
#include <string>
#include <string_view>

namespace RavikSrv::Detail
{

/// Times as text by ISO 8601: a timestamp as 2024-05-01T12:00:00.5Z (always UTC, up to six digits of a second), a
/// timespan as PT1.5S. Reading takes exactly these forms and answers nothing for every other text; a timestamp outside
/// the years 0000 to 9999 has no text.
std::optional<std::string> to_text(Timestamp time);
std::optional<std::string> to_text(Timespan span);
std::optional<Timestamp> timestamp_from(std::string_view text);
std::optional<Timespan> timespan_from(std::string_view text);

} // namespace RavikSrv::Detail
