#pragma once

#include "Configuration/Changes.h"
#include "Configuration/place_changes.h"
#include "Execution/SymbolTable.h"

#include <optional>
#include <string>
#include <vector>

namespace Ravik
{

/// Why a line of a library can't make an edit, and the path of the entry that it is about.
struct LineObjection
{
    std::string text;
    std::string path;
};

/// The first recipe type or recipe of the recipe management that stands otherwise at or below the places `touched` and
/// that needs, before or afterwards, a symbol which is none of `symbols`: itself, by what it inherits or by what it
/// nests. Nobody could try here what such an edit makes of it. `line` is this server's name in the library.
///
/// `trees.after` may hold the places touched alone; what else it would hold is looked up in the one before. Takes time
/// linear in the entries at the places and the types that they need.
std::optional<LineObjection> line_objection(std::string const& line, SymbolTable const& symbols, TreePair const& trees,
                                            std::vector<Touched> const& touched);

} // namespace Ravik
