#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace Ravik
{

/// The time in UTC as RFC 3339 writes it, to the millisecond: "2026-11-21T08:30:00.000Z". Texts of times are in the
/// order of the times.
std::string timestamp(std::chrono::system_clock::time_point time);

/// Reads a date ("2026-11-21"), or a date and time of RFC 3339, with or without seconds, fractions and offset ("Z",
/// "+01:00"); what has no offset is in UTC. Nothing for any other text.
std::optional<std::chrono::system_clock::time_point> read_timestamp(std::string const& text);

} // namespace Ravik
