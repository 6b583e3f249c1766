#pragma once

#include "Access/Principal.h"
#include "Access/UserFile.h"

#include <chrono>
#include <optional>
#include <string>
#include <unordered_map>

namespace Ravik::Service
{

/// One state of the list of users and tokens, to look people up in.
class Roster
{
public:
    using WallTime = std::chrono::system_clock::time_point;

    explicit Roster(UserList const& list);

    bool empty() const noexcept { return m_users.empty() && m_tokens.empty(); }
    std::optional<Principal> user(std::string const& name) const;
    /// Of the token with that hash; none where it has expired.
    std::optional<Principal> token(std::string const& hash, WallTime now) const;
    /// The same of the token whose cookies have that mark.
    std::optional<Principal> token_of_mark(std::string const& mark, WallTime now) const;
    /// When the token with that hash expires; none for never.
    std::optional<WallTime> token_end(std::string const& hash) const;
    /// Whether somebody who was let in is still here, unchanged. By the link of the start, while nobody is here.
    bool is_good(Principal const& principal, WallTime now) const;

private:
    struct Token
    {
        Principal principal;
        std::optional<WallTime> expires;
    };
    std::unordered_map<std::string, Principal> m_users;
    std::unordered_map<std::string, Token> m_tokens;
    /// The hashes of tokens by those of their marks.
    std::unordered_map<std::string, std::string> m_marks;
};

/// Follows the file of users. One that can't be read leaves in force what was last read. Not thread-safe.
class FollowedRoster
{
public:
    using Time = std::chrono::steady_clock::time_point;

    /// `file` must outlive this. Throws as `UserFile::read` does.
    explicit FollowedRoster(UserFile const& file);

    Roster const& now() const noexcept { return m_roster; }
    /// Looks whether the file has changed, and returns whether what is known has.
    [[nodiscard]] bool look(Time time);
    /// When it looked last.
    Time looked() const noexcept { return m_looked; }

    /// Why the file can't be read; empty where it can.
    std::string const& problem() const noexcept { return m_problem; }
    /// Since when it can't.
    Time troubled_since() const noexcept { return m_troubled_since; }

private:
    UserFile const& m_file;
    std::string m_identity;
    Roster m_roster;
    std::string m_problem;
    Time m_troubled_since;
    Time m_looked;
};

} // namespace Ravik::Service
