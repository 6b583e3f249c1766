#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace Ravik::CommandLine
{

/// The number of bytes to insert, remove, change or swap with their neighbour that makes one text the other.
std::size_t edit_distance(std::string_view left, std::string_view right);

/// The candidate that is nearest to what was typed, the first of several; empty without candidates.
std::string_view nearest_name(std::string_view typed, std::vector<std::string_view> const& candidates);

/// The same where the candidate is near enough to be what was meant, else empty.
std::string_view likely_name(std::string_view typed, std::vector<std::string_view> const& candidates);

} // namespace Ravik::CommandLine
