#include "Access/Role.h"

#include <algorithm>
#include <array>

namespace Ravik::Service
{

namespace
{

struct RoleEntry
{
    Role role;
    char const* name;
    /// The highest of what it may; rights are in the order in which roles gain them.
    Right highest;
};

constexpr std::array<RoleEntry, 4> roles{{
    {Role::Viewer, "viewer", Right::Read},
    {Role::Operator, "operator", Right::Activate},
    {Role::Engineer, "engineer", Right::Edit},
    {Role::Admin, "admin", Right::Administer},
}};

RoleEntry const& entry_of(Role role) noexcept
{
    return roles.at(static_cast<std::size_t>(role));
}

} // namespace

char const* name_of(Role role) noexcept
{
    return entry_of(role).name;
}

std::optional<Role> role_of(std::string_view name) noexcept
{
    auto const* const found =
        std::find_if(roles.begin(), roles.end(), [name](RoleEntry const& entry) { return entry.name == name; });
    return found == roles.end() ? std::nullopt : std::optional(found->role);
}

std::vector<std::string> role_names()
{
    std::vector<std::string> names;
    names.reserve(roles.size());
    for (auto const& entry : roles)
    {
        names.emplace_back(entry.name);
    }
    return names;
}

bool may(Role role, Right right) noexcept
{
    return right <= entry_of(role).highest;
}

} // namespace Ravik::Service
