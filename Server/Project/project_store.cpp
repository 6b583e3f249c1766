#include "Project/project_store.h"

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

void check_ownership(std::optional<Ownership> const& ownership, RegularFile const& project_file)
{
    if (ownership)
    {
        auto const in_folder = ownership->objection();
        if (auto const objection = in_folder ? in_folder : ownership->objection(project_file))
        {
            throw ProjectError(*objection);
        }
    }
}

void require_trusted_project(std::filesystem::path const& directory, OpenOptions const& options)
{
    require_project(directory);
    check_ownership(options.trust ? std::nullopt : std::optional<Ownership>(directory),
                    RegularFile(directory / project_file_name, "the project file"));
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
