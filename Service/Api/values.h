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
/// A member of a body that is true or false, `otherwise` where it is not there. Throws the `Problem` of any other: what
/// is to be tried only must not be done for want of a word.
bool flag_in(RavikSrv::Value const& body, char const* name, bool otherwise = false);
/// {"written": […], "removed": […]}
RavikSrv::Value touched_value(std::vector<Touched> const& places);
/// {"kind", "path", "text", "note"}
RavikSrv::Value finding_value(Finding const& finding);
/// Without the body.
RavikSrv::Value record_value(HistoryRecord const& record);

} // namespace Ravik::Service
