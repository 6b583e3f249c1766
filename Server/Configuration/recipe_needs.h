#pragma once

#include "RavikSrvExtApi.h"

#include <string>
#include <vector>

namespace Ravik
{

/// A member of a recipe type that is bound to a symbol.
struct BoundMember
{
    std::string name;
    std::string symbol;
};

/// What a recipe type needs by itself.
struct TypeNeeds
{
    /// The names of the types that it inherits and those that its members nest.
    std::vector<std::string> types;
    /// Its own members that are bound to symbols.
    std::vector<BoundMember> bound;
};
TypeNeeds needs_of(RavikSrv::Value const& type);

/// The members bound to symbols that a recipe of the type gives values for: those of its inherited types, its own, and
/// those of the types that it nests, in the order of the resolution. Each type is walked once, a missing one passed
/// over.
std::vector<BoundMember> bound_members(std::string const& type, RavikSrv::Value const& tree);

/// A member that recipes of a type have.
struct OwnMember
{
    std::string name;
    /// The type that it stands in: the one asked for, or one that this inherits from.
    std::string type;
    /// In the tree that was asked.
    RavikSrv::Value const* member = nullptr;
};

/// The members that recipes of the type have: those that it inherits and its own, in their order, each name once. What
/// nested recipes give values for is not among them.
std::vector<OwnMember> own_members(std::string const& type, RavikSrv::Value const& tree);
std::vector<OwnMember> own_members(std::string const& type, RavikSrv::Value const&& tree) = delete;

/// A value of a recipe that names a recipe which does not exist.
struct MissingRecipe
{
    /// The full path of the value.
    std::string holder;
    /// As the value gives it.
    std::string name;
};

/// The recipes that the recipe, or one nested in it, names and that do not exist. `recipe` is its name with its
/// folders. Each recipe is walked once.
std::vector<MissingRecipe> missing_recipes(std::string const& recipe, RavikSrv::Value const& tree);

} // namespace Ravik
