#pragma once

#include "Project/Project.h"

#include <string>
#include <string_view>
#include <vector>

/// What the API sends of the server's reports.
namespace Ravik::Service
{

RavikSrv::Value text_value(std::string_view text);
RavikSrv::Value text_values(std::vector<std::string> const& texts);
/// {"written": […], "removed": […]}
RavikSrv::Value touched_value(std::vector<Touched> const& places);
/// {"kind", "path", "text", "note"}
RavikSrv::Value finding_value(Finding const& finding);
/// Without the body.
RavikSrv::Value record_value(HistoryRecord const& record);

} // namespace Ravik::Service
