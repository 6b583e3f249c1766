#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Ravik::Json
{

/// A place in a text as editors count: lines and characters (not bytes) of the line, both from 1. Zero stands for no
/// place.
struct Location
{
    std::size_t line = 0;
    std::size_t column = 0;

    friend bool operator==(Location const&, Location const&) = default;
};

/// The place of the byte at `offset`, which may be the text's end. Takes time linear in the offset.
Location location_of(std::string_view text, std::size_t offset) noexcept;
/// Those of many bytes, in one pass over the text.
std::vector<Location> locations_of(std::string_view text, std::vector<std::size_t> const& offsets);

/// A text that is no JSON, or JSON that no value can hold. `what()` tells a person what is wrong, in one line and
/// without the place.
class ParseError : public std::runtime_error
{
public:
    ParseError(Location location, std::string const& message) : std::runtime_error(message), m_location(location) {}

    Location location() const noexcept { return m_location; }

private:
    Location m_location;
};

} // namespace Ravik::Json
