#pragma once

#include "Configuration/tree.h"
#include "RavikSrvExtApi.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Ravik
{

/// A tree that is being edited. Entries of one map that are removed one after the other go when the tree is looked at
/// next, all of them in one pass over the map: each by itself would have all behind it close up. Does no locking.
class WorkingTree
{
public:
    explicit WorkingTree(RavikSrv::Value tree) : m_tree(std::move(tree)) {}

    /// The tree as it stands, good until it is edited.
    RavikSrv::Value& get();

    /// As `Tree::remove`.
    RavikSrv::ErrorValue remove(std::string const& path, std::vector<Tree::Change>& changes);

private:
    /// The map that removals are put off for at the path's parent; null where none is worth it.
    RavikSrv::Value const* map_of(Tree::SplitPath const& place);
    RavikSrv::ErrorValue put_off(RavikSrv::Value const& map, Tree::SplitPath const& place,
                                 std::vector<Tree::Change>& changes);

    RavikSrv::Value m_tree;
    /// The map whose removals have been put off, and where in it the entries stand that go: ascending.
    std::string m_parent;
    std::vector<std::size_t> m_gone;
};

} // namespace Ravik
