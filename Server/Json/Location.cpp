#include "Json/Location.h"

#include <algorithm>

namespace Ravik::Json
{

Location location_of(std::string_view text, std::size_t offset) noexcept
{
    auto const before = text.substr(0, offset);
    auto const lines = std::count(before.begin(), before.end(), '\n');
    auto const line = before.substr(before.rfind('\n') + 1); // npos + 1 is 0, the text's begin
    // Every character has one byte that is no continuation byte of UTF-8.
    auto const characters = std::count_if(line.begin(), line.end(), [](char byte) { return (byte & 0xC0) != 0x80; });
    return {static_cast<std::size_t>(lines) + 1, static_cast<std::size_t>(characters) + 1};
}

} // namespace Ravik::Json
