#pragma once

#include "Editing/EntrySchemas.h"
#include "Editing/Refusal.h"
#include "RavikSrvExtApi.h"

#include <string>
#include <vector>

namespace Ravik
{

/// The longest name of an entry, folder, member or value, in bytes.
inline constexpr std::size_t longest_name = 255;

/// Whether `name` may stand in the place `path`: it must be one component of a path, not longer than `longest_name`.
Refusal check_name(std::string const& path, std::string const& name);

/// Whether the entry may stand at `path`: it fits the definition of its kind, the names of its members, values or, in a
/// folder, entries are allowed, and its text could be read again.
Refusal check_entry(EntrySchemas const& schemas, EntryKind kind, std::string const& path, RavikSrv::Value const& entry);

/// The schemas of the members of a recipe type at `path` that can't be used, with the reason.
std::vector<Refusal> broken_schemas(std::string const& path, RavikSrv::Value const& type);

/// The same for everything at and below `path` of the two lists, folders included.
Refusal check_entries(EntrySchemas const& schemas, std::string const& path, RavikSrv::Value const& tree);

} // namespace Ravik
