#pragma once

#include "Configuration/Library.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Ravik
{

/// Whose entries stand where a project and the library that it joins differ.
enum class Side
{
    None,
    Ours,
    Theirs,
};

/// What that side decides.
enum class Extent
{
    /// What differs; what one of the two has alone comes to the other.
    Differences,
    /// Everything: what the other one has alone goes.
    Everything,
};

/// The rows of a project and those of a library, as one.
struct MergedRows
{
    /// The paths where the two differ: other texts, or something below what holds nothing. Where no side decides
    /// nothing else is told.
    std::vector<std::string> clashes{};
    /// All rows afterwards, by rank: the library's in its order, behind them what came to it in the project's.
    std::vector<LibraryRow> rows{};
    /// What changes in the library, those that are removed among it.
    std::vector<LibraryRow> changed{};
    /// The library's head afterwards, as far as the rows make it up.
    LibraryHead head{};
    /// How many recipes and recipe types, or other values, the library gets and the project gets.
    std::size_t sent = 0;
    std::size_t come = 0;
    /// Whether the project loses something that it alone has.
    bool loses_own = false;
};

/// `own` and `library` are by rank; `head` is the library's.
MergedRows merge_rows(std::vector<LibraryRow> const& own, std::vector<LibraryRow> const& library,
                      LibraryHead const& head, Side side, Extent extent);

} // namespace Ravik
