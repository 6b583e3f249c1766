#pragma once

#include "Access/Access.h"
#include "Access/Attempts.h"
#include "Access/Roster.h"
#include "Access/Sessions.h"
#include "Access/Watches.h"

#include <optional>
#include <string>

namespace Ravik::Service
{

/// Somebody who signs in with a password.
struct PasswordAttempt
{
    enum class Purpose
    {
        Session,
        /// To show once more that it is him.
        Check,
    };
    Purpose purpose = Purpose::Session;
    std::string user;
    std::string password;
    std::string address;
};

/// All that `Access` knows, without its threads. Not thread-safe. What looks at the file adds to `calls` what is to be
/// called when no lock is held.
class Gate
{
public:
    using Calls = Watches::Calls;

    /// `users` must outlive the gate. Throws as `UserFile::read` does.
    Gate(UserFile const& users, AccessClocks clocks);

    bool has_anybody(Calls& calls);
    std::optional<std::string> make_start_token(Calls& calls);

    /// How long no attempt of that user or from there is looked at; nothing where one is.
    std::optional<std::chrono::seconds> wait_for(PasswordAttempt const& attempt) const;
    /// What the attempt's password is to be checked with.
    std::string hash_for(PasswordAttempt const& attempt, Calls& calls);
    /// What becomes of an attempt whose password was right or wrong by that hash.
    SignIn settle(PasswordAttempt const& attempt, std::string const& hash, bool is_right, Calls& calls);
    SignIn sign_in_by_token(std::string const& token, std::string const& address, Calls& calls);

    std::optional<Visitor> visitor(std::string const& cookie, std::string const& csrf, Calls& calls);
    void end_session(std::string const& cookie, Calls& calls);
    std::optional<Identity> bearer(std::string const& token, Calls& calls);

    std::shared_ptr<void> watch_session(std::string const& cookie, std::function<void()> ended, Calls& calls);
    std::shared_ptr<void> watch_token(std::string const& token, std::function<void()> ended, Calls& calls);

    void refresh(Calls& calls);
    std::string const& problem() const noexcept { return m_roster.problem(); }

private:
    struct StartToken
    {
        std::string hash;
        Sessions::Time end;
    };

    /// Looks at the file where it has not just done so.
    void look(Calls& calls);
    void end_what_is_not_good(Calls& calls);
    void end_watches_of(Sessions::Keys const& sessions, Calls& calls);
    /// Whether nobody is let in because of the file.
    bool is_shut() const;
    bool is_good(Principal const& principal) const;
    /// Whose token the cookie is a half of.
    std::optional<Principal> token_of_cookie(std::string const& cookie, Calls& calls);
    std::optional<std::chrono::seconds> lifetime_of(Principal const& token) const;
    /// Null where it has ended.
    Sessions::Record* good_session(std::string const& cookie, Calls& calls);
    std::optional<Principal> principal_of(std::string const& token_hash) const;
    std::optional<Principal> take_start_token(std::string const& token_hash);
    Session make_token_session(std::string const& token, Principal const& principal) const;
    Session make_session(Principal const& principal, Calls& calls);

    AccessClocks m_clocks;
    FollowedRoster m_roster;
    std::optional<StartToken> m_start;
    Sessions m_sessions;
    Watches m_watches;
    Attempts m_by_user;
    Attempts m_by_address;
};

} // namespace Ravik::Service
