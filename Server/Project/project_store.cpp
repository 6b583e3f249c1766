#include "Project/project_store.h"

#include "Configuration/store_file.h"
#include "Project/Ownership.h"

namespace Ravik
{

namespace
{

/// The store of the project; its file need not be there, but the project has to.
std::filesystem::path existing_project(std::filesystem::path const& directory)
{
    require_project(directory);
    return store_of(directory);
}

} // namespace

void require_project(std::filesystem::path const& directory)
{
    auto const file = directory / project_file_name;
    // What can't be looked at, opening it tells of.
    std::error_code unknown;
    if (std::filesystem::symlink_status(file, unknown).type() == std::filesystem::file_type::not_found)
    {
        throw ProjectError(file.lexically_normal().string() +
                           ": the project file can't be read: No such file or directory; 'ravik init' makes a project, "
                           "--project DIR names the folder of another");
    }
}

RegularFile open_project_file(std::filesystem::path const& directory, bool trust)
{
    require_project(directory);
    RegularFile opened(directory / project_file_name, "the project file");
    if (!trust)
    {
        Ownership const ownership(directory);
        auto const in_folder = ownership.objection();
        if (auto const objection = in_folder ? in_folder : ownership.objection(opened))
        {
            throw ProjectError(*objection);
        }
    }
    return opened;
}

ConfigurationOutcome writing_backup(std::filesystem::path const& file, bool replace,
                                    std::function<ConfigurationOutcome()> const& work)
{
    auto const failed = [&](std::string const& why)
    {
        return ConfigurationOutcome{
            .error = RavikSrv::ErrorValue::FILE_WRITE, .text = file.string() + why, .path = {}, .value = {}};
    };
    try
    {
        if (!replace && std::filesystem::exists(file))
        {
            return failed(": the file exists already; --force replaces it");
        }
        return work();
    }
    catch (std::exception const& error)
    {
        return failed(std::string(" could not be written: ") + error.what());
    }
}

ConfigurationOutcome write_backup(std::filesystem::path const& store, std::filesystem::path const& file, bool replace,
                                  std::function<ConfigurationOutcome(std::filesystem::path const& copy)> const& fill)
{
    return writing_backup(file, replace,
                          [&]
                          {
                              StoreFile::check_copy_target(store, file);
                              StoreFile::Replacement copy(file);
                              auto outcome = fill(copy.file());
                              if (outcome.succeeded())
                              {
                                  copy.become_target();
                              }
                              return outcome;
                          });
}

std::filesystem::path store_of(std::filesystem::path const& directory)
{
    return directory / "ravik.db";
}

StoreReport check_project_store(std::filesystem::path const& directory, OpenOptions const& options)
{
    return check_store(existing_project(directory), options.wait);
}

StoreReport restore_project_store(std::filesystem::path const& directory, std::filesystem::path const& backup,
                                  Replaced replaced, OpenOptions const& options)
{
    return restore_store(existing_project(directory), backup, replaced, options.wait);
}

StoreReport repair_project_store(std::filesystem::path const& directory, OpenOptions const& options)
{
    return repair_store(existing_project(directory), options.wait);
}

} // namespace Ravik
