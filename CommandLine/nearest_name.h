#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Ravik::CommandLine
{

/// The number of bytes to insert, remove, change or swap with their neighbour that makes one text the other.
std::size_t edit_distance(std::string_view left, std::string_view right);

/// The candidate that is nearest to what was typed, the first of several; empty without candidates.
std::string_view nearest_name(std::string_view typed, std::vector<std::string_view> const& candidates);

/// The candidates that may have been meant, in their order: those that end with what was typed; else those in a folder
/// of that name; else those of the same last component, whatever the case of the letters; else those that are nearest
/// by their letters, as a whole or in their last component, where they are near enough.
std::vector<std::string> likely_names(std::string_view typed, std::vector<std::string> const& candidates);

/// "did you mean 'A' or 'B'?", with `kind` ("the function ") before the names; a few names at most, and empty without
/// any.
std::string did_you_mean(std::vector<std::string> const& names, std::string const& kind = "");

} // namespace Ravik::CommandLine
