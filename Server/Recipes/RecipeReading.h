#pragma once

#include "Execution/SymbolTable.h"
#include "Recipes/ReadReport.h"
#include "Recipes/RecipeAccess.h"

#include "RavikSrvExtApi.h"

#include <string>

namespace Ravik
{

/// One reading of a recipe from the controllers.
class RecipeReading
{
public:
    /// Reads it. The symbols outlive the reading.
    RecipeReading(RecipeAccess const& access, SymbolTable const& symbols, std::string name);

    /// The recipe as it stood just before it was read; null where there was none.
    RavikSrv::Value const& recipe() const noexcept { return m_recipe; }
    ReadReport report() const;

private:
    ValueRows compared() const;
    ValueRows unread() const;

    SymbolTable const& m_symbols;
    std::string m_name;
    RavikSrv::Value m_configuration;
    RavikSrv::Value m_recipe;
    FunctionOutcome m_outcome;
};

} // namespace Ravik
