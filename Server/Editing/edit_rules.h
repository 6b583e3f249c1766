#pragma once

#include "Configuration/expectation.h"
#include "Editing/Refusal.h"
#include "RavikSrvExtApi.h"

#include <string>

/// What an edit may do to the tree of a configuration, whoever is asked besides. Pure functions.
namespace Ravik
{

/// Whether a client may edit at `path` at all: it is a path, and in a recipe configuration it lies in one of the lists.
Refusal check_path(std::string const& path, bool has_recipes);

/// Whether the path names entries and folders by their names, so that they have one path each; only inside an entry an
/// index may stand in brackets. `tree` is the one in which the path leads somewhere.
Refusal check_form(std::string const& path, RavikSrv::Value const& tree);

/// Whether every entry and folder that stood at or below `path` is still there, and as what it was.
Refusal check_set(std::string const& path, RavikSrv::Value const& before, RavikSrv::Value const& after);

/// Whether the entry at the move's path is there and may go to its new path.
Refusal check_move(Move const& move, RavikSrv::Value const& tree);

/// Whether a recipe or recipe type stands at the path and may be put at the new one, too.
Refusal check_copy(std::string const& path, std::string const& new_path, RavikSrv::Value const& tree);

} // namespace Ravik
