#pragma once

#include "Call.h"
#include "recipe_config_handler/StoredPaths.h"
#include "recipe_config_handler/cascade.h"

#include <string>

namespace RecipeManagement
{

/// One delete or rename, carried through whatever refers to the entry. All passes read one state of the configuration;
/// none sees what another has written. A failing write stops no pass; the result of a pass is the outcome of its last
/// write. The first pass that fails ends the cascade.
class DeleteRename
{
public:
    DeleteRename(Call const& call, PathChange change, StoredPaths const& recipes, StoredPaths const& recipe_types);

    [[nodiscard]] ResultPair delete_rename();

private:
    /// Keeps the stored paths in step.
    void delete_rename_path() const;
    /// Moves the recipes' values of a renamed member. Ends with success at a recipe of the type that has none.
    [[nodiscard]] ResultPair delete_rename_recipe_values() const;
    /// Corrects recipe types, then recipes. Ends with success at a stored type that is missing.
    [[nodiscard]] ResultPair delete_rename_recipetype() const;
    /// Corrects the inherited types of one type.
    [[nodiscard]] ResultPair delete_rename_recipetypenames(Value const& type, std::string const& type_path) const;
    /// Corrects the nested types of one type; a member whose type is deleted goes with it.
    [[nodiscard]] ResultPair delete_rename_recipetype_in_member(std::string const& type_path) const;
    /// Corrects the recipes of a type; they go with a type that is deleted.
    [[nodiscard]] ResultPair recipetypename_in_recipes() const;
    /// Corrects values that name a recipe, in members that the recipe's own type declares as nested. A failure's text
    /// is the path of the recipe. Ends with success at a stored recipe that is missing.
    [[nodiscard]] ResultPair delete_rename_recipe_references() const;

    Call const m_call;
    PathChange const m_change;
    StoredPaths const m_recipes;
    StoredPaths const m_recipe_types;
    /// The configuration as it stood when the cascade began.
    Value m_snapshot;
};

} // namespace RecipeManagement
