#pragma once

#include "Project/report_values.h"

#include <string>

/// What the API sends and reads beside `report_values.h`.
namespace Ravik::Service
{

/// A member of a body that is true or false, `otherwise` where it is not there. Throws the `Problem` of any other: what
/// is to be tried only must not be done for want of a word.
bool flag_in(RavikSrv::Value const& body, char const* name, bool otherwise = false);
/// Who did something as the API tells it: "user:anna", "token:panel"; whoever uses the command line is an account of
/// the machine, "account:root".
std::string who_text(std::string const& who);
/// The same read back.
std::string who_in(std::string const& text);
/// A record as it stands in the answer, see `value_of`.
RavikSrv::Value record_value(HistoryRecord const& record);

} // namespace Ravik::Service
