#include "Json/Location.h"

#include <algorithm>
#include <numeric>

namespace Ravik::Json
{

namespace
{

/// Every character has one byte that is no continuation byte of UTF-8.
bool begins_character(char byte) noexcept
{
    return (byte & 0xC0) != 0x80;
}

} // namespace

Location location_of(std::string_view text, std::size_t offset) noexcept
{
    auto const before = text.substr(0, offset);
    auto const lines = std::count(before.begin(), before.end(), '\n');
    auto const line = before.substr(before.rfind('\n') + 1); // npos + 1 is 0, the text's begin
    auto const characters = std::count_if(line.begin(), line.end(), begins_character);
    return {static_cast<std::size_t>(lines) + 1, static_cast<std::size_t>(characters) + 1};
}

std::vector<Location> locations_of(std::string_view text, std::vector<std::size_t> const& offsets)
{
    std::vector<std::size_t> order(offsets.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(),
              [&offsets](std::size_t left, std::size_t right) { return offsets[left] < offsets[right]; });
    std::vector<Location> locations(offsets.size());
    Location here{1, 1};
    std::size_t position = 0;
    for (auto const index : order)
    {
        for (auto const end = std::min(offsets[index], text.size()); position < end; ++position)
        {
            auto const byte = text[position];
            here = byte == '\n' ? Location{here.line + 1, 1}
                                : Location{here.line, here.column + (begins_character(byte) ? 1 : 0)};
        }
        locations[index] = here;
    }
    return locations;
}

} // namespace Ravik::Json
