#pragma once

#include "Access/Role.h"

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace Ravik::Service
{

/// What stands in the file: no password and no token, but what they can be checked with.
struct UserEntry
{
    std::string name;
    Role role = Role::Viewer;
    /// As libsodium writes it (argon2id).
    std::string hash;
    /// RFC 3339 in UTC, as all times here.
    std::string created;
};

struct TokenEntry
{
    std::string name;
    Role role = Role::Viewer;
    /// SHA-256 of the token, in hexadecimal.
    std::string hash;
    std::string created;
    /// Empty for never.
    std::string expires;
};

bool has_expired(TokenEntry const& token, std::chrono::system_clock::time_point now);

/// Users and tokens, each in the order in which they were added; names are unique among each.
struct UserList
{
    std::vector<UserEntry> users;
    std::vector<TokenEntry> tokens;

    bool empty() const noexcept { return users.empty() && tokens.empty(); }
};

/// Reads the text of a file. Throws `std::runtime_error`, which says what is wrong and where, for anything but what
/// `write_user_list` writes: a member that is missing, unknown or wrong makes the whole list useless.
UserList read_user_list(std::string const& text);
std::string write_user_list(UserList const& list);

} // namespace Ravik::Service
