#pragma once

#include "Editing/Editor.h"
#include "Execution/SymbolTable.h"
#include "Recipes/ReadReport.h"
#include "Recipes/RecipeAccess.h"
#include "Recipes/SaveOptions.h"

#include "RavikSrvExtApi.h"

#include <string>

namespace Ravik
{

/// What became of storing what the controllers hold.
struct [[nodiscard]] SavedRecipe
{
    /// How the reading went; where it failed nothing else was done.
    RecipeOutcome reading;
    EditOutcome edit;
    /// The symbols at fault, or the values that stand for symbols.
    ValueRows rows;
};

/// One storing of what the controllers hold into a recipe.
class RecipeSaving
{
public:
    /// All parts outlive it.
    RecipeSaving(RecipeAccess const& access, Editor& editor, SymbolTable const& symbols, std::string recipe,
                 SaveOptions const& options);

    SavedRecipe save();

private:
    EditOutcome check_before() const;
    EditOutcome check_rows(ValueRows const& rows) const;
    EditOutcome store(RavikSrv::Value const& recipe, bool has_changed, std::string const& tag);
    Condition condition(std::string const& tag) const;
    Refusal taken() const;

    RecipeAccess const& m_access;
    Editor& m_editor;
    SymbolTable const& m_symbols;
    std::string m_name;
    SaveOptions const& m_options;
    std::string m_target;
};

} // namespace Ravik
