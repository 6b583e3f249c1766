#include "Access/UserFile.h"

#include "Access/Principal.h"
#include "Access/file_replacement.h"
#include "Access/obstacles.h"
#include "Access/secrets.h"

#include "History/timestamp.h"
#include "Project/RegularFile.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace Ravik::Service
{

namespace
{

namespace fs = std::filesystem;
using Kind = AccessRefusal::Kind;

constexpr auto no_refusal = Kind::None;
/// More than anybody has users, and no burden to read.
constexpr off_t largest_file = off_t{16} * 1024 * 1024;

std::string quoted(std::string const& name)
{
    return "'" + name + "'";
}

/// What is wrong with the file as such, whatever stands in it.
std::string objection(RegularFile const& file)
{
    auto const name = file.path().string();
    auto const& status = file.status();
    if (status.st_uid != ::geteuid() && status.st_uid != owner_beside(file.path()))
    {
        return name + ": belongs to somebody else, so it says nothing of who may come in here; make it yours with "
                      "chown, or remove it";
    }
    constexpr mode_t others = S_IRWXG | S_IRWXO;
    if ((status.st_mode & others) != 0)
    {
        return name + ": others can read or write it; look through it with 'ravik user list' after chmod 600, and give "
                      "new passwords and tokens where others may have seen it";
    }
    if (status.st_size > largest_file)
    {
        return name + ": it is too large to be a list of users; put a copy of the right one in its place";
    }
    return {};
}

template <typename Entries> auto find_named(Entries& entries, std::string const& name)
{
    return std::find_if(entries.begin(), entries.end(), [&](auto const& entry) { return entry.name == name; });
}

bool has_admin(UserList const& list)
{
    return std::any_of(list.users.begin(), list.users.end(),
                       [](UserEntry const& user) { return user.role == Role::Admin; });
}

AccessRefusal unknown_user(std::string const& name)
{
    return {Kind::Unknown, "there is no user " + quoted(name) + "; 'ravik user list' lists them"};
}

AccessRefusal unfit(std::string const& obstacle)
{
    return {obstacle.empty() ? no_refusal : Kind::Unfit, obstacle};
}

std::string now()
{
    return timestamp(std::chrono::system_clock::now());
}

} // namespace

UserFile::UserFile(fs::path const& file, std::function<void()> changed)
    : m_file(fs::absolute(file).lexically_normal()), m_changed(std::move(changed))
{
}

UserList UserFile::read() const
{
    // What can't be looked at, opening it tells of.
    std::error_code unknown;
    auto const kind = fs::symlink_status(m_file, unknown).type();
    if (kind == fs::file_type::not_found)
    {
        return {};
    }
    if (kind == fs::file_type::symlink)
    {
        throw std::runtime_error(m_file.string() + ": is a symbolic link; put the file itself in its place");
    }
    RegularFile const file(m_file, "the list of users");
    auto const reason = objection(file);
    if (!reason.empty())
    {
        throw std::runtime_error(reason);
    }
    auto const content = file.read();
    try
    {
        return read_user_list(content);
    }
    catch (std::runtime_error const& error)
    {
        throw std::runtime_error(m_file.string() + ':' + error.what() +
                                 "; mend it or put a copy in its place (nobody is let in by a list that is broken)");
    }
}

std::string UserFile::identity() const
{
    struct stat status = {};
    if (::lstat(m_file.c_str(), &status) != 0)
    {
        return errno == ENOENT ? "none" : "error " + std::to_string(errno);
    }
    auto const time = [](timespec const& at) { return std::to_string(at.tv_sec) + '.' + std::to_string(at.tv_nsec); };
    return std::to_string(status.st_dev) + ' ' + std::to_string(status.st_ino) + ' ' + std::to_string(status.st_size) +
           ' ' + time(status.st_mtim) + ' ' + time(status.st_ctim);
}

AccessRefusal UserFile::change(Change const& change)
{
    try
    {
        FileLock const lock(m_file);
        auto list = read();
        auto const had_admin = has_admin(list);
        if (auto refusal = change(list))
        {
            return refusal;
        }
        if (!has_admin(list) && (had_admin || !list.users.empty()))
        {
            return {Kind::LastAdmin, had_admin
                                         ? "the last admin stays: give another user this role first"
                                         : "the first user is an admin, so that somebody can look after the rest"};
        }
        replace_file(m_file, write_user_list(list));
    }
    catch (std::runtime_error const& error)
    {
        return {Kind::Storage, error.what()};
    }
    if (m_changed)
    {
        m_changed();
    }
    return {};
}

AccessRefusal UserFile::add_user(std::string const& name, std::string const& password, Role role)
{
    auto obstacle = name_obstacle(name);
    obstacle = obstacle.empty() ? password_obstacle(password) : obstacle;
    if (!obstacle.empty())
    {
        return unfit(obstacle);
    }
    // Not under the lock: it takes its time.
    auto const hash = password_hash(password);
    return change(
        [&](UserList& list) -> AccessRefusal
        {
            if (find_named(list.users, name) != list.users.end())
            {
                return {Kind::Exists, "there is a user " + quoted(name) + " already"};
            }
            list.users.push_back({.name = name, .role = role, .hash = hash, .created = now()});
            return {};
        });
}

AccessRefusal UserFile::remove_user(std::string const& name)
{
    return change(
        [&](UserList& list) -> AccessRefusal
        {
            auto const user = find_named(list.users, name);
            if (user == list.users.end())
            {
                return unknown_user(name);
            }
            list.users.erase(user);
            return {};
        });
}

AccessRefusal UserFile::change_user(std::string const& name, std::function<void(UserEntry&)> const& edit)
{
    return change(
        [&](UserList& list) -> AccessRefusal
        {
            auto const user = find_named(list.users, name);
            if (user == list.users.end())
            {
                return unknown_user(name);
            }
            edit(*user);
            return {};
        });
}

AccessRefusal UserFile::set_password(std::string const& name, std::string const& password)
{
    if (auto refusal = unfit(password_obstacle(password)))
    {
        return refusal;
    }
    auto const hash = password_hash(password);
    return change_user(name, [&](UserEntry& user) { user.hash = hash; });
}

AccessRefusal UserFile::set_role(std::string const& name, Role role)
{
    return change_user(name, [&](UserEntry& user) { user.role = role; });
}

AccessRefusal UserFile::add_token(std::string const& name, Role role, std::optional<std::chrono::days> expires,
                                  std::string& token)
{
    constexpr std::chrono::days longest{36500};
    auto obstacle = name_obstacle(name);
    obstacle = name == start_token_name ? "the name 'start' is kept for the link that 'ravik serve' prints" : obstacle;
    if (expires && (*expires < std::chrono::days{1} || *expires > longest))
    {
        obstacle = "a token is good for 1 to 36500 days, or without an end";
    }
    if (!obstacle.empty())
    {
        return unfit(obstacle);
    }
    auto const made = "ravik_" + random_secret();
    auto const end = expires ? timestamp(std::chrono::system_clock::now() + *expires) : "";
    auto refusal = change(
        [&](UserList& list) -> AccessRefusal
        {
            if (find_named(list.tokens, name) != list.tokens.end())
            {
                return {Kind::Exists, "there is a token " + quoted(name) + " already"};
            }
            list.tokens.push_back(
                {.name = name, .role = role, .hash = secret_hash(made), .created = now(), .expires = end});
            return {};
        });
    token = refusal ? "" : made;
    return refusal;
}

AccessRefusal UserFile::change_token(std::string const& name, TokenChange const& make)
{
    return change(
        [&](UserList& list) -> AccessRefusal
        {
            auto const token = find_named(list.tokens, name);
            if (token == list.tokens.end())
            {
                return {Kind::Unknown, "there is no token " + quoted(name) + "; 'ravik token list' lists them"};
            }
            make(list.tokens, token);
            return {};
        });
}

AccessRefusal UserFile::set_token_role(std::string const& name, Role role)
{
    return change_token(name, [role](Tokens& /*tokens*/, Tokens::iterator token) { token->role = role; });
}

AccessRefusal UserFile::remove_token(std::string const& name)
{
    return change_token(name, [](Tokens& tokens, Tokens::iterator token) { tokens.erase(token); });
}

fs::path users_file_of(fs::path const& project)
{
    return project / "ravik.users";
}

} // namespace Ravik::Service
