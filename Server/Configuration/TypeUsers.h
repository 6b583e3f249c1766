#pragma once

#include "RavikSrvExtApi.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace Ravik
{

/// Which recipe types of a configuration inherit or nest which. Keeps paths alone and does not refer to the tree.
class TypeUsers
{
public:
    explicit TypeUsers(RavikSrv::Value const& tree);

    /// The paths of the type at `path` and of all that inherit or nest it, directly or through others.
    std::set<std::string> with_users(std::string const& path) const;

private:
    /// By a type's path the paths of the types that name it.
    std::map<std::string, std::vector<std::string>> m_users;
};

} // namespace Ravik
