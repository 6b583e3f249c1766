#pragma once

#include <string>

namespace Ravik
{

/// Who asked for something, as the history tells it.
struct Origin
{
    /// Empty for the account that this process runs under.
    std::string who{};
    /// What was asked, as a person would type it; empty where the operation tells it by itself.
    std::string asked{};
    /// What whoever asked wants to be remembered with it.
    std::string note{};
    /// Where whoever asked came from over the network; empty for somebody on this machine.
    std::string address{};
};

/// What a record's body keeps the address under.
inline constexpr char const* address_key = "address";

} // namespace Ravik
