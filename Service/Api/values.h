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
/// Who did something as the API tells it: "user:anna", "token:panel"; whoever uses the command line is an account of
/// the machine, "account:root".
std::string who_text(std::string const& who);
/// The same read back.
std::string who_in(std::string const& text);
/// Without the body.
RavikSrv::Value record_value(HistoryRecord const& record);

} // namespace Ravik::Service
