#include "Project/Ownership.h"

#include <array>
#include <cerrno>
#include <grp.h>
#include <pwd.h>
#include <string_view>
#include <sys/xattr.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace Ravik
{

namespace
{

namespace fs = std::filesystem;

/// Enough for what the system keeps of a user or a group; a longer one is treated as unknown.
using Buffer = std::array<char, 16384>;

std::string user_name(uid_t user)
{
    Buffer buffer{};
    passwd entry{};
    passwd* found = nullptr;
    getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found);
    return found == nullptr ? std::to_string(user) : std::string(found->pw_name);
}

/// With an access list the mode's group bits are the most that the list gives to anybody but the owner.
bool has_access_list(fs::path const& path)
{
    return ::getxattr(path.c_str(), "system.posix_acl_access", nullptr, 0) > 0;
}

/// The folders of the file, whose path is absolute, and of each symbolic link on the way to it.
std::vector<fs::path> folders_of(fs::path file)
{
    constexpr int most_links = 40; // as many as the system follows
    std::vector<fs::path> folders;
    std::error_code error;
    for (int link = 0; link <= most_links; ++link)
    {
        folders.push_back(file.parent_path());
        auto const target = fs::read_symlink(file, error);
        if (error)
        {
            break;
        }
        file = folders.back() / target;
    }
    return folders;
}

} // namespace

Ownership::Ownership(fs::path const& folder) : m_folder(fs::absolute(folder)), m_caller(::geteuid()), m_owner(m_caller)
{
    struct stat status = {};
    if (m_caller == 0 && ::stat(folder.c_str(), &status) == 0)
    {
        m_owner = status.st_uid;
    }
}

std::optional<std::string> Ownership::objection() const
{
    return objection_to_folder(m_folder);
}

std::optional<std::string> Ownership::objection(RegularFile const& file) const
{
    if (auto text = objection_to(file.path(), file.status()))
    {
        return text;
    }
    for (auto const& folder : folders_of(fs::absolute(file.path())))
    {
        if (auto text = objection_to_folder(folder))
        {
            return text;
        }
    }
    return std::nullopt;
}

std::optional<std::string> Ownership::objection_to_folder(fs::path const& path) const
{
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0)
    {
        return path.string() + ": can't be examined: " + std::generic_category().message(errno);
    }
    return objection_to(path, status);
}

std::optional<std::string> Ownership::objection_to(fs::path const& path, struct stat const& status) const
{
    constexpr auto remedy = ", or give --trust if they may run code in your name";
    auto const normal = path.lexically_normal();
    auto const name = (normal.has_filename() ? normal : normal.parent_path()).string() + ": ";
    if (!may(status.st_uid))
    {
        return name + "belongs to another user, " + user_name(status.st_uid) +
               "; use a copy that belongs to you, or make it yours with chown" + remedy;
    }
    if ((status.st_mode & S_IWOTH) != 0)
    {
        return name + "can be written by everybody; take that right away with chmod go-w" + remedy;
    }
    if ((status.st_mode & S_IWGRP) != 0 && (has_access_list(path) || !is_private_group(status.st_gid)))
    {
        return name + "can be written by other users of its group; take that right away with chmod g-w" + remedy;
    }
    return std::nullopt;
}

bool Ownership::may(uid_t user) const noexcept
{
    return user == 0 || user == m_caller || user == m_owner;
}

bool Ownership::is_private_group(gid_t group) const
{
    Buffer group_buffer{};
    ::group found_group{};
    ::group* known = nullptr;
    getgrgid_r(group, &found_group, group_buffer.data(), group_buffer.size(), &known);
    if (known == nullptr)
    {
        return false;
    }
    Buffer user_buffer{};
    passwd found_user{};
    passwd* user = nullptr;
    getpwnam_r(known->gr_name, &found_user, user_buffer.data(), user_buffer.size(), &user);
    if (user == nullptr || user->pw_gid != group || !may(user->pw_uid))
    {
        return false;
    }
    auto* const* member = known->gr_mem;
    while (*member != nullptr && std::string_view(*member) == known->gr_name)
    {
        ++member;
    }
    return *member == nullptr;
}

} // namespace Ravik
