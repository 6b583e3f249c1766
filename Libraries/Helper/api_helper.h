#pragma once

#include "RavikSrvExtApi.h"

#include <string>
#include <utility>

/// Server paths, walking a value by path, and the names of the server's error values.
///
/// A path is a sequence of components joined by "::"; a component is a name in a map or, in a vector, a decimal index.
/// An index may also stand in brackets behind a name (`PathIterator`). All functions are pure and thread-safe.
namespace RavikSrv
{

/// The text between the components of a path, "::".
std::string path_separator();

/// The first component of a path without any index: the text before the first "::" and, of that, before the first "[".
std::string name_from_path(char const* path);

/// The path below the symbol that a symbol path begins with; empty for a bare symbol name.
std::string path_from_symbol(char const* symbol);

/// One step down from `value`: the entry of that name of a map or struct, the element with that index of a vector; null
/// where there is none, where `value` is of another type, or null itself.
Value const* node(Value const* value, std::string const& name);
/// The same for changing, detaching what it steps through. With `create`, a missing entry of a map or struct is
/// inserted as null.
Value* node(Value* value, std::string const& name, bool create = false);

/// Where a walk by path ended. The pointers point into the value that was walked and are valid until it changes.
template <typename T> struct BasicPathNode
{
    /// The last component that was followed.
    std::string name;
    /// The node reached, null where the path leads nowhere.
    T* node = nullptr;
    /// That node's parent, null while no step has been taken.
    T* parent = nullptr;
};

using PathNode = BasicPathNode<Value const>;
using MutablePathNode = BasicPathNode<Value>;

/// Follows `path` from `root`. The empty path leads to the root itself; a path with an empty component leads nowhere.
PathNode node_path(std::string const& path, Value const& root);
/// The same for changing: detaches every node on the way from its copies.
MutablePathNode node_path(std::string const& path, Value& root);
PathNode node_path(std::string const& path, Value const&& root) = delete;

/// Follows `path` from `root` and returns whether the whole of it was followed, with a copy of the node reached. The
/// walk goes through an event into the event's data.
std::pair<bool, Value> follow_hmi_path(std::string const& path, Value const& root);

/// The name of an error value, "ERROR" for a number that is none.
String get_error_string(ErrorValue value);

} // namespace RavikSrv
