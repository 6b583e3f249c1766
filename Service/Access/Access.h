#pragma once

#include "Access/Role.h"
#include "Access/UserFile.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace Ravik::Service
{

/// Somebody who was let in.
struct Identity
{
    /// "user:anna", "token:panel"; the start token's is "token:start".
    std::string who;
    Role role = Role::Viewer;
};

/// A session that a cookie stands for.
struct Session
{
    Identity identity;
    /// The cookie's value and what each request with the cookie must carry; secrets both.
    std::string cookie;
    std::string csrf;
    /// How long the browser is to keep the cookie; nothing for as long as it runs.
    std::optional<std::chrono::seconds> lifetime{};
};

/// Who comes with a cookie.
struct Visitor
{
    Identity identity;
    /// Whether the session's CSRF token came along. A cookie alone browsers send for whoever asks.
    bool is_proven = false;
    /// As a session's, from now on.
    std::optional<std::chrono::seconds> lifetime{};
};

/// What became of an attempt to sign in.
struct SignIn
{
    enum class Outcome
    {
        Done,
        /// Wrong user, password or token: nobody is told which.
        Wrong,
        /// Too many attempts: not even looked at.
        TooMany,
    };
    Outcome outcome = Outcome::Wrong;
    std::optional<Session> session = {};
    /// For `TooMany`: how long to wait.
    std::chrono::seconds wait{0};
};

/// Where `Access` has the time from.
struct AccessClocks
{
    std::function<std::chrono::steady_clock::time_point()> steady = std::chrono::steady_clock::now;
    /// What the expiry of tokens is compared with.
    std::function<std::chrono::system_clock::time_point()> wall = std::chrono::system_clock::now;
};

/// Who may come in: users with their passwords, tokens, and the sessions of browsers. A session that was begun with a
/// token is as good as the token, also after a restart. Follows the file of users as it
/// changes; what belongs to somebody whose password, role or entry has changed ends at once. Thread-safe; nothing is
/// called back under a lock.
///
/// A file that can't be read any more, while this follows it, leaves in force for a minute what was last read, and
/// `problem()` tells why. After that nobody is let in, and watches end, until it can be read again; sessions that are
/// still good then go on. A file that is gone means that there is nobody.
class Access
{
public:
    /// Throws `std::runtime_error` where the file can't be read.
    explicit Access(std::filesystem::path const& users_file, AccessClocks clocks = {});
    Access(Access const&) = delete;
    Access& operator=(Access const&) = delete;
    /// Password checks that run end first; those that wait are dropped without a call. Not to be called by one.
    ~Access();

    /// Whether there is any user or token.
    bool has_anybody();

    /// Makes the token that is good for one sign-in within ten minutes as long as there is nobody else, and returns it;
    /// it takes the place of one made before. None where there is somebody. Who signs in with it is an admin until the
    /// first user or token comes.
    std::optional<std::string> make_start_token();

    /// Checks a password on a thread of its own and calls `done`, which must not throw, there or, where it is not even
    /// looked at, on the caller's. At most two are checked at once, 20 wait.
    void sign_in(std::string user, std::string password, std::string address, std::function<void(SignIn)> const& done);
    /// The same without a session: for somebody who is to show once more that it is him.
    void check_password(std::string user, std::string password, std::string address,
                        std::function<void(SignIn)> const& done);
    SignIn sign_in_by_token(std::string const& token, std::string const& address);

    /// Whose cookie it is, none where its session has ended. Counts as a request of the session where it is proven.
    std::optional<Visitor> visitor(std::string const& cookie, std::string const& csrf);
    /// Ends the session and its watches. One that was begun with a token ends with its cookie: who has kept both halves
    /// of the token is let in until the token goes.
    void end_session(std::string const& cookie);
    /// Who a bearer token stands for.
    std::optional<Identity> bearer(std::string const& token);

    /// Calls `ended`, which must not throw, once, on any thread, when the session of the cookie, or the token, is no
    /// longer good; at once where it is not now. Returns what stops the watch when it is destroyed; a call that has
    /// begun on another thread by then may still be running.
    std::shared_ptr<void> watch_session(std::string const& cookie, std::function<void()> ended);
    std::shared_ptr<void> watch_token(std::string const& token, std::function<void()> ended);

    /// Looks for what has ended by time or by a change of the file; called every now and then.
    void refresh();
    /// Why the file can't be read at present, for a person; empty where it can.
    std::string problem();

    /// Users and tokens, for those who may; what is changed here is in force when the call returns.
    UserFile& users() noexcept;

private:
    class State;

    std::unique_ptr<State> m_state;
};

} // namespace Ravik::Service
