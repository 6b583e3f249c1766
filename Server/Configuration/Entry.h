#pragma once

#include "Configuration/configuration_keys.h"

#include "RavikSrvExtApi.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Ravik
{

/// What stands at a place of the configuration.
enum class EntryKind
{
    /// Outside both lists.
    Other,
    /// One of the lists, or a folder in one: it holds folders and entries.
    Folder,
    RecipeType,
    Recipe,
    /// Below a recipe type or a recipe.
    Inside,
    /// In a list, yet neither an entry nor a folder.
    Neither,
};

/// The name of the schema type that listeners are told: "recipeType", "recipe", or empty.
char const* schema_type(EntryKind kind) noexcept;

/// What `value` is as an element of the list that `path` begins with. An object with "members" in the recipe type list
/// is a recipe type, one with "recipeTypeName" or "values" in the recipe list is a recipe, every other object a folder.
EntryKind kind_of(std::string_view path, RavikSrv::Value const& value);

/// Whether an entry called `name` would make its folder at `path` a recipe type or recipe.
bool makes_entry(std::string const& path, std::string const& name);

/// Where a path lies.
struct Place
{
    EntryKind kind = EntryKind::Other;
    /// The path of the entry that it names or lies in; of the folder where it names one; the first component outside
    /// the lists.
    std::string owner;
};

/// Finds where `path` lies in the configuration `root`. A path that leads nowhere is placed by the part of it that does
/// lead somewhere: inside an entry, or as `Neither` in a folder.
Place locate(std::string const& path, RavikSrv::Value const& root);

/// Whether a walk over entries visits the folders, too.
enum class Folders
{
    PassedOver,
    Visited,
};

/// Calls `visit(path, entry, kind)` for each recipe type and recipe at or below `path` (the empty path: both lists) in
/// the order of the tree, and for whatever is `Neither`. Folders may be visited too, before what they hold. The visit
/// returns false to end the walk.
using EntryVisit = std::function<bool(std::string const& path, RavikSrv::Value const& entry, EntryKind kind)>;
void for_each_entry(std::string const& path, RavikSrv::Value const& root, EntryVisit const& visit,
                    Folders folders = Folders::PassedOver);

/// The path without the list that it begins with: the name by which entries refer to the entry.
std::string relative_name(std::string const& path);

/// Whether the entry at the path is the last one of its list in the order of the tree.
bool is_last_entry(std::string const& path, RavikSrv::Value const& tree);

/// The paths of the entries at and below `path`, in the order of the tree.
std::vector<std::string> entry_paths(std::string const& path, RavikSrv::Value const& tree);

/// The two lists of the tree and nothing else; one that it lacks is empty.
RavikSrv::Value lists_of(RavikSrv::Value const& tree);

} // namespace Ravik
