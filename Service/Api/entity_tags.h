#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Ravik::Service
{

/// The tags of a condition such as `"a", W/"b"`, without their quotes; a weak one counts as the tag that it is of.
/// Empty where the text is no such list.
std::vector<std::string> entity_tags(std::string_view list);

} // namespace Ravik::Service
