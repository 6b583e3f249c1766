#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Ravik::Service
{

/// What a client of the stream sends: {"csrf": …, "symbols": [NAME…]}.
struct StreamMessage
{
    /// Empty where there is none.
    std::string csrf;
    std::vector<std::string> symbols;
};

/// More symbols than any page shows.
inline constexpr std::size_t most_symbols = 10'000;

/// Reads a message. Throws `std::runtime_error` with the reason, for a person, where it is none.
StreamMessage read_stream_message(std::string_view text);

} // namespace Ravik::Service
