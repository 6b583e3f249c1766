#pragma once

#include "Configuration/Changes.h"
#include "RavikSrvExtApi.h"

#include <optional>
#include <string>
#include <vector>

namespace Ravik
{

/// A delete or rename of one path.
struct Move
{
    std::string path;
    /// Empty for a delete.
    std::string new_path;

    bool is_delete() const noexcept { return new_path.empty(); }
    /// Whether `other` is the path itself or lies below it, component by component.
    bool covers(std::string const& other) const;
    /// Where `other` stands after the move: elsewhere if the move covers it, else where it was.
    std::string moved(std::string const& other) const;
};

/// Makes the move in the tree and nothing else; the moved entry goes to the end of its map, and folders that its
/// new path lacks are made.
RavikSrv::Value with_move(RavikSrv::Value const& tree, Move const& move);

/// The configuration as a move should leave it: the move made, and every reference carried along exactly. A name of
/// what was renamed is rewritten. Where something was deleted, recipes of a deleted type go with it, inherited names
/// and members that nest a deleted type are removed, and values that name a deleted recipe are emptied; values of a
/// deleted member stay.
RavikSrv::Value expected_after(RavikSrv::Value const& tree, Move const& move);

/// Something that stands otherwise in one tree than in another; no value where nothing stands.
struct Difference
{
    std::string path;
    std::optional<RavikSrv::Value> expected;
    std::optional<RavikSrv::Value> actual;
};

/// The places of the two lists in which the trees differ: the deepest ones that tell what differs, whole entries where
/// one is missing. Equal parts that the trees share cost nothing.
std::vector<Difference> differences(RavikSrv::Value const& expected, RavikSrv::Value const& actual);

/// What else changes with a move that leaves `expected`: the entries of a deleted folder, and every place that was
/// carried along, elements of a list by their index in the tree `before` the move.
std::vector<Touched> consequences(std::string const& domain, Move const& move, RavikSrv::Value const& before,
                                  RavikSrv::Value const& expected);

} // namespace Ravik
