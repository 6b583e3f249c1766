#pragma once

#include "SharedLines.h"

namespace Ravik::Test
{

/// What happens to libraries by hand, or by the hands of those who look after the database; throws where a case ends
/// otherwise than it has to. There are at least three lines, all following, and nobody edits.
void run_library_cases(SharedLines& lines);

} // namespace Ravik::Test
