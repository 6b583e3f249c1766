#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace Ravik
{

/// How much of the history is kept; the oldest records go first.
struct HistoryBounds
{
    std::chrono::seconds keep = std::chrono::hours(24 * 90);
    /// In bytes. 0 keeps none at all.
    std::uint64_t size = std::uint64_t{256} << 20U;
};

/// Reads a span of time: a whole number above 0 and "seconds", "minutes", "hours", "days" or "weeks" (or one of it),
/// up to 100 years. Nothing for any other text.
std::optional<std::chrono::seconds> read_span(std::string const& text);

/// Reads an interval: a whole number above 0 and "ms" or "s", up to a day. Nothing for any other text.
std::optional<std::chrono::milliseconds> read_interval(std::string const& text);

/// Reads a size: a whole number above 0 and "KiB", "MiB" or "GiB", up to 1024 GiB. Nothing for any other text.
std::optional<std::uint64_t> read_size(std::string const& text);

} // namespace Ravik
