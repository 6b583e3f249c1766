#pragma once

#include "Configuration/store_care.h"
#include "Project/Ownership.h"
#include "Project/Project.h"

#include <filesystem>
#include <optional>

/// Looking after the store of a project that is not open, see `store_care.h`. All throw `ProjectError`, also where the
/// folder holds no project.
namespace Ravik
{

StoreReport check_project_store(std::filesystem::path const& directory, OpenOptions const& options);
StoreReport restore_project_store(std::filesystem::path const& directory, std::filesystem::path const& backup,
                                  Replaced replaced, OpenOptions const& options);
StoreReport repair_project_store(std::filesystem::path const& directory, OpenOptions const& options);

/// Throws `ProjectError` where the folder holds no project.
void require_project(std::filesystem::path const& directory);

/// Throws `ProjectError` where somebody else could change the project; nothing is checked without `ownership`.
void check_ownership(std::optional<Ownership> const& ownership, RegularFile const& project_file);

/// Throws `ProjectError` where the folder holds no project, or one that somebody else could change (without `trust`).
void require_trusted_project(std::filesystem::path const& directory, OpenOptions const& options);

/// The project's store.
std::filesystem::path store_of(std::filesystem::path const& directory);

} // namespace Ravik
