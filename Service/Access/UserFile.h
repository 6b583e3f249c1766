#pragma once

#include "Access/UserList.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Ravik::Service
{

/// Why a change was refused.
struct [[nodiscard]] AccessRefusal
{
    enum class Kind
    {
        None,
        Exists,
        Unknown,
        LastAdmin,
        /// A name, password or expiry that can't be.
        Unfit,
        /// The file can't be read or written.
        Storage,
    };
    Kind kind = Kind::None;
    /// For a person, with what to do.
    std::string text;
    explicit operator bool() const noexcept { return kind != Kind::None; }
};

/// The file of users and tokens, `ravik.users` beside the store: mode 0600, replaced as a whole, changed under a lock
/// among processes (on a file beside it that stays; the lock ends with whoever holds it, so none is ever stale, and
/// who waits for one that is held for five seconds is refused). No file means that there is nobody. One that others
/// could read or write, that belongs to somebody else or is broken, throws `std::runtime_error` with a message for a
/// person. Root may change the file of the folder's owner, whose file it stays. Thread-safe.
///
/// As soon as there are users one of them is an admin, and the last admin stays, whatever tokens there are.
class UserFile
{
public:
    /// `changed` is called after each change that was made through this object, on its thread.
    explicit UserFile(std::filesystem::path const& file, std::function<void()> changed = {});

    std::filesystem::path const& path() const noexcept { return m_file; }

    UserList read() const;
    /// Tells one state of the file from another, cheaply: device, inode, size and times.
    std::string identity() const;

    // Passwords have at least 8 characters and at most 1024 bytes of UTF-8; each that is set costs the time and memory
    // of a check.

    AccessRefusal add_user(std::string const& name, std::string const& password, Role role);
    AccessRefusal remove_user(std::string const& name);
    AccessRefusal set_password(std::string const& name, std::string const& password);
    AccessRefusal set_role(std::string const& name, Role role);
    /// The token is returned once and stored nowhere. `expires` is how long it is good for, 1 day to 100 years.
    AccessRefusal add_token(std::string const& name, Role role, std::optional<std::chrono::days> expires,
                            std::string& token);
    AccessRefusal set_token_role(std::string const& name, Role role);
    AccessRefusal remove_token(std::string const& name);

private:
    using Change = std::function<AccessRefusal(UserList&)>;
    using Tokens = std::vector<TokenEntry>;
    using TokenChange = std::function<void(Tokens&, Tokens::iterator token)>;

    /// Reads the list, changes it, and puts it in the file's place, all under the lock.
    AccessRefusal change(Change const& change);
    AccessRefusal change_user(std::string const& name, std::function<void(UserEntry&)> const& edit);
    AccessRefusal change_token(std::string const& name, TokenChange const& make);

    std::filesystem::path m_file;
    std::function<void()> m_changed;
};

/// The project's file of users and tokens.
std::filesystem::path users_file_of(std::filesystem::path const& project);

} // namespace Ravik::Service
