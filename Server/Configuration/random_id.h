#pragma once

#include <string>

namespace Ravik
{

/// 128 random bits as 32 lower-case hexadecimal digits: no two are ever the same, wherever they are drawn.
std::string random_id();

} // namespace Ravik
