#include "Configuration/TypeUsers.h"

#include "Configuration/Entry.h"
#include "Configuration/references.h"

namespace Ravik
{

using RavikSrv::Value;
using RavikSrv::ValueType;

TypeUsers::TypeUsers(Value const& tree)
{
    Value types(ValueType::Map);
    types.insert(Key::recipe_type_list, tree[Key::recipe_type_list]);
    for (auto const& reference : read_references(types))
    {
        m_users[reference.target].push_back(locate(reference.holder, types).owner);
    }
}

std::set<std::string> TypeUsers::with_users(std::string const& path) const
{
    std::set<std::string> all{path};
    for (std::vector<std::string> open{path}; !open.empty();)
    {
        auto const users = m_users.find(open.back());
        open.pop_back();
        if (users == m_users.end())
        {
            continue;
        }
        for (auto const& user : users->second)
        {
            if (all.insert(user).second)
            {
                open.push_back(user);
            }
        }
    }
    return all;
}

} // namespace Ravik
