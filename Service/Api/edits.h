#pragma once

#include "Api/Route.h"
#include "Api/problem.h"

#include "Project/Project.h"

#include <string>

/// What the routes that edit have in common.
namespace Ravik::Service
{

/// The caller, as the history tells it.
Origin origin_of(Call const& call, std::string note = {});

/// What the header demands of what stands there: If-Match with tags, or If-None-Match: *. Throws 428 without either,
/// so that nobody overwrites what he has not seen.
Condition required_condition(Call const& call);

/// The answer to an edit: {"written": […], "removed": […], "warnings": […]}. Throws the `Problem` of one that failed.
Response edit_answer(Project const& project, EditReport const& report, unsigned status = 200, Fields fields = {});

/// The problem of an edit of the project that failed; 412 has what stands there now, and 503 of an edit whose outcome
/// is not known its id.
Problem problem_of(Project const& project, EditReport const& report);

} // namespace Ravik::Service
