#pragma once

#include "Configuration/LibraryError.h"
#include "Project/Project.h"
#include "Project/merged_rows.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

/// Joining and leaving the library that a project's ravik.json names. The project is not open meanwhile: no extension
/// is loaded. All throw `ProjectError` where the project can't be opened or another process has it, and `LibraryError`
/// where the library, or what was asked for, can't be had; then the project is as it was.
namespace Ravik
{

struct JoinOptions
{
    /// The server's name in the library; empty for the one that it has, or else the host's.
    std::string name{};
    Side side = Side::None;
};

/// What became of joining.
struct [[nodiscard]] JoinReport
{
    /// Where project and library differ and no side was named: the paths. Then nothing was changed.
    std::vector<std::string> clashes{};
    /// The project has joined this library before, and is no copy of another state of it.
    bool was_joined = false;
    /// The server's name, and the revision at which it joined.
    std::string server{};
    std::int64_t revision = 0;
    /// How many recipes, recipe types and other values the library got, and the project.
    std::size_t sent = 0;
    std::size_t come = 0;
    /// Where the store is kept as it was before it lost anything; empty where it lost nothing.
    std::filesystem::path backup{};
};

struct LeaveReport
{
    /// The revision whose types and recipes are the project's own now.
    std::int64_t revision = 0;
    std::string server{};
    /// Why the library still knows the server, empty where it was struck off.
    std::string still_known{};
};

/// Makes the tables of the library, see `Library::initialise`. The project's store is left alone, and may be in use.
std::string init_library(std::filesystem::path const& directory, bool upgrade, OpenOptions const& options);

/// Makes one of the project's types and recipes and the library's, and the store a copy of that. A store that was
/// copied from another server's gets an identity of its own where a name is given.
JoinReport join_library(std::filesystem::path const& directory, JoinOptions const& join, OpenOptions const& options);

/// Makes the copy the project's own again, also without a link.
LeaveReport leave_library(std::filesystem::path const& directory, OpenOptions const& options);

} // namespace Ravik
