#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Ravik::Service
{

/// Each may what those before it may, and more.
enum class Role
{
    Viewer,
    Operator,
    Engineer,
    Admin,
};

char const* name_of(Role role) noexcept;
std::optional<Role> role_of(std::string_view name) noexcept;
/// In their order.
std::vector<std::string> role_names();

/// What a route needs; in the order in which roles gain them.
enum class Right
{
    /// Read everything but users and tokens.
    Read,
    /// Plan, activate and cancel; take an activation back while the controllers still hold what it wrote.
    Activate,
    /// Edit, import, store readings, write single symbols, activate without verification, take back all the rest.
    Edit,
    /// Users and tokens.
    Administer,
};

bool may(Role role, Right right) noexcept;

} // namespace Ravik::Service
