#pragma once

#include "Api/Parts.h"
#include "Api/Route.h"

#include <memory>

namespace Ravik::Service
{

/// What a client of the stream is served by.
std::shared_ptr<StreamHandler> open_events(Parts& parts, Caller caller);

/// The stream's route, which is served by `open_events`.
Response get_events(Call& call);

} // namespace Ravik::Service
