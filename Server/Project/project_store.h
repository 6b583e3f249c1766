#pragma once

#include "Configuration/store_care.h"
#include "Project/Ownership.h"
#include "Project/Project.h"

#include "Project/RegularFile.h"

#include <filesystem>
#include <functional>

/// Looking after the store of a project that is not open, see `store_care.h`. All that take a folder throw
/// `ProjectError`, also where it holds no project.
namespace Ravik
{

StoreReport check_project_store(std::filesystem::path const& directory, OpenOptions const& options);
StoreReport restore_project_store(std::filesystem::path const& directory, std::filesystem::path const& backup,
                                  Replaced replaced, OpenOptions const& options);
StoreReport repair_project_store(std::filesystem::path const& directory, OpenOptions const& options);

/// Throws `ProjectError` where the folder holds no project.
void require_project(std::filesystem::path const& directory);

/// The project file of the folder, open. Without `trust` somebody else who could change it or the folder is a
/// `ProjectError` too, see `Ownership`.
RegularFile open_project_file(std::filesystem::path const& directory, bool trust);

/// Has `work` write a backup to `file`, and tells what came of it as `Project::backup` does. Whatever `work` throws is
/// a failure.
ConfigurationOutcome writing_backup(std::filesystem::path const& file, bool replace,
                                    std::function<ConfigurationOutcome()> const& work);
/// Makes a backup of the store `store` that stands at `file` only once it is whole: `fill` writes it to the path that
/// it is given.
ConfigurationOutcome write_backup(std::filesystem::path const& store, std::filesystem::path const& file, bool replace,
                                  std::function<ConfigurationOutcome(std::filesystem::path const& copy)> const& fill);

/// The project's store.
std::filesystem::path store_of(std::filesystem::path const& directory);

} // namespace Ravik
