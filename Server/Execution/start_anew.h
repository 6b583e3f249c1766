#pragma once

#include <string>

namespace Ravik
{

struct Core;

/// Starts the domain's extension anew and tells it of all entries as they stand, still in the turn that changed them,
/// so that nobody edits while it learns them. Throws `ProjectError`; the one that was at work stays then.
void start_anew(Core& core, std::string const& domain);

} // namespace Ravik
