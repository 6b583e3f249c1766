#pragma once

#include "RavikSrvExtApi.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Changing a configuration tree by path, one entry at a time, so that each change can be taken back.
namespace Ravik::Tree
{

enum class WriteMode
{
    /// A map written onto a map adds or replaces the entries that it names.
    Merge,
    /// The value takes the place of what stands there.
    Replace,
    /// The same; the maps that are missing on the way are made, and an index behind the last element adds one.
    ReplaceInPath,
};

/// One change of a tree, with what makes it once more and what takes it back.
struct Change
{
    /// The path of the map or vector that holds the entry, and the entry's name or index in it.
    std::string parent;
    std::string name;
    /// What stood there before, nothing where the entry is new.
    std::optional<RavikSrv::Value> before;
    /// What stands there now, nothing where the entry was removed.
    std::optional<RavikSrv::Value> after;
    /// For a removed entry: where it stood among its siblings.
    std::size_t position = 0;

    bool is_removal() const noexcept { return !after; }
};

/// Whether `name` can stand in a path as one component and come out of it as it went in: it is not empty, holds no
/// "::", neither begins nor ends with ":" and does not end like an index in brackets.
bool is_path_component(std::string const& name);

/// Whether one of the path's components is empty.
bool has_empty_component(std::string const& path);

/// The parents of `path` that are missing in the tree, outermost first; none where the path leads through something
/// that can't hold it.
std::vector<std::string> missing_parents(RavikSrv::Value const& root, std::string const& path);

/// `path` without its last component, and that component; an index in brackets is a component.
struct SplitPath
{
    std::string parent;
    std::string name;
};
SplitPath split_last(std::string const& path);

/// `parent` and `name` joined; just `name` below the root.
std::string join(std::string_view parent, std::string_view name);

/// A tree that holds `value` at `path`, and nothing else than the maps that lead there. Every component is a name.
RavikSrv::Value alone(std::string const& path, RavikSrv::Value const& value);

/// Writes `value` at `path` and appends what it changed to `changes`. `INVALID_PATH` for a path with an empty component
/// and for the empty path with a value that is no map, `ENTRY_NOT_FOUND` where the path's parent is missing or can't
/// hold the entry; both leave the tree as it was. Takes time in proportion to the path and, for a merge, to `value`.
RavikSrv::ErrorValue write(RavikSrv::Value& root, std::string const& path, RavikSrv::Value const& value, WriteMode mode,
                           std::vector<Change>& changes);

/// Removes the entry at `path`; errors as above, `ENTRY_NOT_FOUND` where there is none.
RavikSrv::ErrorValue remove(RavikSrv::Value& root, std::string const& path, std::vector<Change>& changes);

/// Removes the entries at these positions of a map, which ascend.
void remove_at(RavikSrv::Value& map, std::vector<std::size_t> const& positions);

/// Makes the changes once more, in a tree that stands as the first one did before them. Entries of one map that are
/// removed one after the other take one pass over it.
void apply(RavikSrv::Value& root, std::vector<Change const*> const& changes);

/// Takes the changes back, the last one first, in a tree that stands as they left it; otherwise as `apply`.
void take_back(RavikSrv::Value& root, std::vector<Change const*> const& changes);

} // namespace Ravik::Tree
