#pragma once

#include <string>
#include <string_view>

namespace Ravik
{

/// 128 random bits as 32 lower-case hexadecimal digits: no two are ever the same, wherever they are drawn.
std::string random_id();

/// Whether the text is written as these are.
bool is_random_id(std::string_view text) noexcept;

} // namespace Ravik
