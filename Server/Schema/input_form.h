#pragma once

#include "RavikSrvExtApi.h"

#include <vector>

namespace Ravik::Schema
{

/// What a form has to know of a value that is to fit all of the schemas, as far as references and "allOf" tell it:
/// {"type", "minimum", "maximum", "choices", "maxLength", "unit"}. What is not known is not there, but for "type", one
/// of "number", "integer", "boolean", "string" and, for whatever else, "other". A bound is the tightest one; one that
/// is exclusive is told as it stands, for an integer as the first that fits. "choices" are the values of an "enum" or
/// "const" that fit all schemas, "unit" is the first one found. Schemas that are null or can't be used tell nothing.
RavikSrv::Value input_form(std::vector<RavikSrv::Value> const& schemas);

} // namespace Ravik::Schema
