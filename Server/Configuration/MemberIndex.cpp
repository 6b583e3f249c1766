#include "Configuration/MemberIndex.h"

#include "Configuration/Entry.h"
#include "Configuration/tree.h"
#include "algorithm_helper.h"
#include "api_helper.h"

namespace Ravik
{

using RavikSrv::Value;
using RavikSrv::Algorithm::to_string;

namespace
{

/// Types may be nested 20 deep before their resolution is refused; what lies deeper is not looked at.
constexpr int max_depth = 20;

std::string type_path(std::string const& name)
{
    return Tree::join(Key::recipe_type_list, name);
}

} // namespace

MemberIndex::Members const* MemberIndex::members_of(std::string const& type)
{
    auto const [found, added] = m_by_type.try_emplace(type);
    if (added)
    {
        std::set<std::string> walked;
        found->second.exists = collect(type, 0, walked, found->second.members);
    }
    return found->second.exists ? &found->second.members : nullptr;
}

/// Returns whether there is such a type.
bool MemberIndex::collect(std::string const& type, int depth, std::set<std::string>& walked, Members& members) const
{
    auto const path = type_path(type);
    auto const* const node = RavikSrv::node_path(path, m_tree).node;
    if (node == nullptr || depth > max_depth || !walked.insert(type).second)
    {
        return node != nullptr;
    }
    Value const& inherited = (*node)[Key::recipe_type_names];
    for (auto name = inherited.begin_vector(); name != inherited.end_vector(); ++name)
    {
        members.try_emplace(to_string(*name), Target{.path = type_path(to_string(*name)), .nests_type = true});
        collect(to_string(*name), depth + 1, walked, members);
    }
    Value const& own = (*node)[Key::members];
    for (auto member = own.begin(); member != own.end(); ++member)
    {
        add_member(Tree::join(path, Key::members), member.name(), *member, depth, walked, members);
    }
    return true;
}

void MemberIndex::add_member(std::string const& members_path, std::string const& name, Value const& member, int depth,
                             std::set<std::string>& walked, Members& members) const
{
    auto const symbol = to_string(member[Key::symbol]);
    auto const nested = to_string(member[Key::recipe_type]);
    auto const nests_type = symbol.empty() && !nested.empty();
    members.try_emplace(name, Target{.path = Tree::join(members_path, name), .nests_type = nests_type});
    if (nests_type)
    {
        members.try_emplace(nested, Target{.path = type_path(nested), .nests_type = true});
    }
    if (!nested.empty())
    {
        collect(nested, depth + 1, walked, members);
    }
}

} // namespace Ravik
