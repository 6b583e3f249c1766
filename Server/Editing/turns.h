#pragma once

#include "Configuration/Configuration.h"
#include "Editing/Refusal.h"

namespace Ravik
{

/// Why the domain can't be edited in the turn, which names it; none where it can.
Refusal obstacle(Configuration::Turn const& turn, std::string const& domain, std::string const& path);

/// Ends the turn. Returns why what was written in it does not last, or that this is not known; none where it lasts.
Refusal commit(Configuration::Turn& turn);

} // namespace Ravik
