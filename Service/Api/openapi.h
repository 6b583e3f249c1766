#pragma once

#include <memory>
#include <string>

namespace Ravik::Service
{

/// The description of the API (OpenAPI 3.1) as JSON, made of the table of routes.
std::shared_ptr<std::string const> description();

} // namespace Ravik::Service
