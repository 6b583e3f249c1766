#include "Configuration/recipe_needs.h"

#include "Configuration/Entry.h"
#include "Configuration/MemberIndex.h"
#include "Configuration/configuration_keys.h"
#include "Configuration/tree.h"
#include "algorithm_helper.h"
#include "api_helper.h"

#include <unordered_set>
#include <utility>

namespace Ravik
{

using RavikSrv::Value;
using RavikSrv::Algorithm::to_string;

namespace
{

/// Recipes and types may be nested 20 deep before their resolution is refused; what lies deeper is not looked at.
constexpr int max_depth = 20;

class TypeWalk
{
public:
    explicit TypeWalk(Value const& tree) : m_tree(tree) {}

    void walk(std::string const& type, int depth)
    {
        auto const* const node = RavikSrv::node_path(Tree::join(Key::recipe_type_list, type), m_tree).node;
        if (node == nullptr || depth > max_depth || !m_walked.insert(type).second)
        {
            return;
        }
        Value const& inherited = (*node)[Key::recipe_type_names];
        for (auto name = inherited.begin_vector(); name != inherited.end_vector(); ++name)
        {
            walk(to_string(*name), depth + 1);
        }
        Value const& own = (*node)[Key::members];
        for (auto member = own.begin(); member != own.end(); ++member)
        {
            if (auto symbol = to_string((*member)[Key::symbol]); !symbol.empty())
            {
                m_members.push_back({.name = member.name(), .symbol = std::move(symbol)});
            }
            walk(to_string((*member)[Key::recipe_type]), depth + 1);
        }
    }

    std::vector<BoundMember> take() { return std::move(m_members); }

private:
    Value const& m_tree;
    std::unordered_set<std::string> m_walked{std::string()};
    std::vector<BoundMember> m_members;
};

/// Walks a type and those that it inherits.
class OwnMembers
{
public:
    explicit OwnMembers(Value const& tree) : m_tree(tree) {}

    void walk(std::string const& type)
    {
        auto const* const node = RavikSrv::node_path(Tree::join(Key::recipe_type_list, type), m_tree).node;
        if (node == nullptr || !m_walked.insert(type).second)
        {
            return;
        }
        Value const& inherited = (*node)[Key::recipe_type_names];
        for (auto name = inherited.begin_vector(); name != inherited.end_vector(); ++name)
        {
            walk(to_string(*name));
        }
        Value const& own = (*node)[Key::members];
        for (auto member = own.begin(); member != own.end(); ++member)
        {
            if (m_known.insert(member.name()).second)
            {
                m_members.push_back({.name = member.name(), .type = type, .member = &*member});
            }
        }
    }

    std::vector<OwnMember> take() { return std::move(m_members); }

private:
    Value const& m_tree;
    std::unordered_set<std::string> m_walked{std::string()};
    std::unordered_set<std::string> m_known;
    std::vector<OwnMember> m_members;
};

class RecipeWalk
{
public:
    RecipeWalk(MemberIndex::Members const& members, Value const& tree) : m_members(members), m_tree(tree) {}

    /// The recipe at a full path that leads somewhere.
    void walk(std::string const& path, int depth)
    {
        if (depth > max_depth || !m_walked.insert(path).second)
        {
            return;
        }
        Value const& values = (*RavikSrv::node_path(path, m_tree).node)[Key::values];
        for (auto value = values.begin(); value != values.end(); ++value)
        {
            auto const member = m_members.find(value.name());
            if (auto const name = to_string(*value);
                member != m_members.end() && member->second.nests_type && !name.empty())
            {
                look_at(Tree::join(Tree::join(path, Key::values), value.name()), name, depth);
            }
        }
    }

    std::vector<MissingRecipe> take() { return std::move(m_missing); }

private:
    void look_at(std::string const& holder, std::string const& name, int depth)
    {
        auto const is_full = RavikSrv::Algorithm::starts_with(name, Tree::join(Key::recipe_list, ""));
        auto const path = is_full ? name : Tree::join(Key::recipe_list, name);
        auto const* const node = RavikSrv::node_path(path, m_tree).node;
        if (node == nullptr || kind_of(path, *node) != EntryKind::Recipe)
        {
            m_missing.push_back({.holder = holder, .name = name});
        }
        else
        {
            walk(path, depth + 1);
        }
    }

    MemberIndex::Members const& m_members;
    Value const& m_tree;
    std::unordered_set<std::string> m_walked;
    std::vector<MissingRecipe> m_missing;
};

} // namespace

TypeNeeds needs_of(Value const& type)
{
    TypeNeeds needs;
    Value const& inherited = type[Key::recipe_type_names];
    for (auto name = inherited.begin_vector(); name != inherited.end_vector(); ++name)
    {
        needs.types.push_back(to_string(*name));
    }
    Value const& own = type[Key::members];
    for (auto member = own.begin(); member != own.end(); ++member)
    {
        if (auto symbol = to_string((*member)[Key::symbol]); !symbol.empty())
        {
            needs.bound.push_back({.name = member.name(), .symbol = std::move(symbol)});
        }
        if (auto nested = to_string((*member)[Key::recipe_type]); !nested.empty())
        {
            needs.types.push_back(std::move(nested));
        }
    }
    return needs;
}

std::vector<BoundMember> bound_members(std::string const& type, Value const& tree)
{
    TypeWalk walk(tree);
    walk.walk(type, 0);
    return walk.take();
}

std::vector<OwnMember> own_members(std::string const& type, Value const& tree)
{
    OwnMembers members(tree);
    members.walk(type);
    return members.take();
}

std::vector<MissingRecipe> missing_recipes(std::string const& recipe, Value const& tree)
{
    auto const path = Tree::join(Key::recipe_list, recipe);
    auto const* const node = RavikSrv::node_path(path, tree).node;
    MemberIndex index(tree);
    auto const* const members = node == nullptr ? nullptr : index.members_of(to_string((*node)[Key::recipe_type_name]));
    if (members == nullptr)
    {
        return {};
    }
    // The values of nested recipes stand for the members that the outermost one's type knows by their names.
    RecipeWalk walk(*members, tree);
    walk.walk(path, 0);
    return walk.take();
}

} // namespace Ravik
