#pragma once

#include "Recipes/RecipeAccess.h"
#include "Recipes/UpdateReport.h"

#include <string>
#include <vector>

namespace Ravik
{

/// One update of recipes, one after the other.
class RecipeUpdates
{
public:
    /// Both outlive it.
    RecipeUpdates(RecipeAccess const& access, UpdateOptions const& options) : m_access(access), m_options(options) {}

    UpdateReport update(std::vector<std::string> const& recipes) const;

private:
    UpdateRow update(std::string const& recipe) const;

    RecipeAccess const& m_access;
    UpdateOptions const& m_options;
};

} // namespace Ravik
