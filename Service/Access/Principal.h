#pragma once

#include "Access/Role.h"

#include <string>

namespace Ravik::Service
{

/// Whom a session or a token stands for, with all that has to stay as it is for that to go on.
struct Principal
{
    enum class Kind
    {
        User,
        Token,
        /// Whoever came by the link that was printed at the start.
        Start,
    };
    Kind kind = Kind::User;
    std::string name = {};
    Role role = Role::Viewer;
    /// The hash of the password or of the token.
    std::string hash = {};

    /// As the history tells it.
    std::string who() const { return (kind == Kind::User ? "user:" : "token:") + name; }

    friend bool operator==(Principal const&, Principal const&) = default;
};

/// The start token's name, which no other token may have: the history tells them apart by it.
constexpr char const* start_token_name = "start";

} // namespace Ravik::Service
