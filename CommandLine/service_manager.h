#pragma once

#include <string>

namespace Ravik::CommandLine
{

/// Tells systemd, where it has started this program and waits for it, how things are ("READY=1"; sd_notify(3)).
void tell_service_manager(std::string const& state) noexcept;

} // namespace Ravik::CommandLine
