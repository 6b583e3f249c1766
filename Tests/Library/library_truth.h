#pragma once

#include "RandomEditor.h"

#include "Configuration/Library.h"
#include "Project/Project.h"

#include <string>
#include <vector>

/// What must hold of servers that share a library. What does not is thrown, as text.
namespace Ravik::Test
{

/// What a library holds, asked of the library itself.
struct LibraryContent
{
    LibraryHead head;
    /// The configuration that its rows make.
    RavikSrv::Value tree;
    /// Those since the position, in the order of their making.
    std::vector<LibraryRecord> records;
};
LibraryHead head_of(LibrarySettings const& settings);
LibraryContent content_of(LibrarySettings const& settings, LibraryPosition const& since);

/// The configuration of the recipe management.
RavikSrv::Value tree_of(Project const& project);
/// They are equal byte for byte, the order of entries included.
void expect_same(std::string const& name, RavikSrv::Value const& tree, std::string const& other_name,
                 RavikSrv::Value const& other);

/// What the extension lists for each type.
std::string listed_recipes(Project& project);

/// What names a recipe or type that is not there; empty where there is none.
std::string broken_reference(RavikSrv::Value const& tree);
/// The same as the project itself finds it.
void expect_references(std::string const& name, Project const& project);

/// Every edit that was made stands in the history once, and so does each that is unknown or it does not; nothing else
/// does. Revisions and times ascend.
void expect_once(std::vector<LibraryRecord> const& records, std::vector<Attempt> const& attempts);
/// The records tell what was done: each began with what the one before it left, and the last one left the tree.
void expect_told(std::vector<LibraryRecord> const& records, RavikSrv::Value const& first, RavikSrv::Value const& last);
/// The project's own history has the same edits in the same order.
void expect_followed(std::string const& name, Project const& project, std::vector<LibraryRecord> const& records);

} // namespace Ravik::Test
