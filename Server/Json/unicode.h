#pragma once

#include <cstddef>
#include <string_view>

namespace Ravik::Json
{

/// The number of bytes of the UTF-8 character that the text begins with; 0 where it begins with none.
std::size_t character_length(std::string_view text) noexcept;

/// Whether the text is UTF-8 without U+0000, as JSON texts and names have to be here.
bool is_readable(std::string_view text) noexcept;

} // namespace Ravik::Json
