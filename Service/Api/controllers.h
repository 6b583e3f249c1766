#pragma once

#include "Api/Parts.h"
#include "Api/Route.h"
#include "Api/problem.h"

#include <string>
#include <vector>

/// What the routes that ask controllers have in common.
namespace Ravik::Service
{

/// Throws 404 where there is no such recipe.
void check_recipe(Call const& call, std::string const& recipe);

/// What an activation of the recipe would write, whatever stands in the controllers. Throws the `Problem` of one that
/// is not there or can't be activated.
ActivationRows expected_rows(Call const& call, std::string const& recipe);
/// The controllers that it reaches.
std::vector<std::string> domains_of(Call const& call, std::string const& recipe);
std::vector<std::string> domains_of(ActivationRows const& rows);

/// The name of a recipe in the body, which has to be there.
std::string recipe_in(RavikSrv::Value const& body);

/// Whether the report is that of a function that failed as such or that another writer keeps out, and not of rows that
/// are not as they should be.
bool is_refused(ActivationReport const& report);
Problem problem_of(ActivationReport const& report);

/// {"id", "outcome", "text", "counts", "rows"}; without an id where there is none.
RavikSrv::Value activation_value(ActivationReport const& report, std::vector<RowState> const& states);

} // namespace Ravik::Service
