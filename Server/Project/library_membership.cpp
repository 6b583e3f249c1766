#include "Project/library_membership.h"

#include "Project/Joining.h"
#include "Project/project_store.h"

#include "Configuration/StoreError.h"
#include "Configuration/random_id.h"

#include <functional>

namespace Ravik
{

namespace
{

[[noreturn]] void refuse(std::string const& why)
{
    throw LibraryError(LibraryError::Kind::Refused, why);
}

ProjectFile read_project(std::filesystem::path const& directory, OpenOptions const& options)
{
    return read_project_file(open_project_file(directory, options.trust));
}

LibrarySettings const& library_of(ProjectFile const& file)
{
    if (!file.library)
    {
        refuse(file.path.lexically_normal().string() +
               R"( names no library; "library": {"postgresql": "host=db1 dbname=recipes"} is one)");
    }
    return *file.library;
}

/// `work` with the failures of the store explained.
template <typename Work> auto with_store(std::filesystem::path const& directory, OpenOptions const& options, Work work)
{
    auto const file = store_of(directory);
    try
    {
        return work(*Store::open(file, options.wait));
    }
    catch (StoreError const& error)
    {
        throw ProjectError(file.string() + ": " + error.what());
    }
}

/// Has the library forget the server. Returns why it does not, empty where it does.
std::string strike(ProjectFile const& file, LibraryServer const& server, std::string const& library_id)
{
    try
    {
        // A copied store must not strike the one off that it was copied from, which is at work: this link is refused.
        auto const library =
            Library::connect(library_of(file), {.server = server, .process = random_id(), .library = library_id},
                             Library::Kind::Following);
        library->strike(server);
        return {};
    }
    catch (LibraryError const& error)
    {
        return error.what();
    }
}

} // namespace

std::string init_library(std::filesystem::path const& directory, bool upgrade, OpenOptions const& options)
{
    return Library::initialise(library_of(read_project(directory, options)), upgrade);
}

JoinReport join_library(std::filesystem::path const& directory, JoinOptions const& join, OpenOptions const& options)
{
    auto const file = read_project(directory, options);
    static_cast<void>(library_of(file));
    return with_store(directory, options, [&](Store& store) { return Joining(file, store, join).join(); });
}

LeaveReport leave_library(std::filesystem::path const& directory, OpenOptions const& options)
{
    auto const file = read_project(directory, options);
    return with_store(directory, options,
                      [&](Store& store)
                      {
                          auto const copy = store.library();
                          if (!copy)
                          {
                              refuse("the project has joined no library");
                          }
                          Transaction transaction(store);
                          store.leave_library();
                          transaction.commit();
                          return LeaveReport{.revision = copy->position.revision,
                                             .server = copy->server.name,
                                             .still_known = strike(file, copy->server, copy->library)};
                      });
}

} // namespace Ravik
