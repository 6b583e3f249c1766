#include "Editing/name_conflicts.h"

#include "Configuration/Entry.h"
#include "Configuration/MemberIndex.h"
#include "Configuration/TypeUsers.h"
#include "Configuration/tree.h"
#include "PathIterator.h"
#include "algorithm_helper.h"
#include "api_helper.h"

#include <set>
#include <string>

namespace Ravik
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::Algorithm::to_string;

namespace
{

/// The types of a configuration by what they inherit and nest, and the names under which their recipes hold values.
class Names
{
public:
    explicit Names(Value const& tree) : m_tree(tree), m_index(tree), m_users(tree) {}

    /// What is to bear a name: a member, which any other of that name stands in the way of, or a type, after which
    /// values may be called as well.
    enum class Bearer
    {
        Member,
        Type,
    };

    /// Refuses `name` where it stands for something else in the type at `path`, in one that inherits or nests it, or in
    /// a recipe of these.
    Refusal check(std::string const& path, std::string const& name, Bearer bearer)
    {
        auto const types = m_users.with_users(path);
        for (auto const& type : types)
        {
            auto const* const members = m_index.members_of(relative_name(type));
            auto const found = members != nullptr && members->contains(name);
            if (found && (bearer == Bearer::Member || is_member(members->at(name).path)))
            {
                return {ErrorValue::ID_IN_USE,
                        "the recipe type " + relative_name(type) + " has a member \"" + name + "\" already",
                        members->at(name).path};
            }
        }
        return check_recipes(types, name);
    }

    /// Refuses a new name in folders for the type at `path` where a recipe holds a value under the type's name: a value
    /// can't be called after a type in a folder.
    Refusal check_values(std::string const& path, std::string const& name)
    {
        Refusal refusal;
        if (Tree::is_path_component(name))
        {
            return refusal;
        }
        for_each_entry(
            Key::recipe_list, m_tree,
            [&](std::string const& recipe_path, Value const& recipe, EntryKind /*kind*/)
            {
                Value const& values = recipe[Key::values];
                auto const value = values.find(relative_name(path).c_str());
                auto const* const members =
                    value == values.end() ? nullptr : m_index.members_of(to_string(recipe[Key::recipe_type_name]));
                if (members != nullptr && members->contains(value.name()) && members->at(value.name()).path == path)
                {
                    refusal = {ErrorValue::INVALID_PATH,
                               "the recipe " + relative_name(recipe_path) +
                                   " holds a value under the name of the type, which can't lie in a folder then",
                               Tree::join(Tree::join(recipe_path, Key::values), value.name())};
                }
                return !refusal;
            });
        return refusal;
    }

private:
    /// Whether it is the path of a member, not that of a type after which a value is called.
    bool is_member(std::string const& path) const { return locate(path, m_tree).kind == EntryKind::Inside; }

    Refusal check_recipes(std::set<std::string> const& types, std::string const& name) const
    {
        Refusal refusal;
        for_each_entry(
            Key::recipe_list, m_tree,
            [&](std::string const& path, Value const& recipe, EntryKind /*kind*/)
            {
                Value const& values = recipe[Key::values];
                auto const type = Tree::join(Key::recipe_type_list, to_string(recipe[Key::recipe_type_name]));
                if (values.find(name.c_str()) != values.end() && types.contains(type))
                {
                    refusal = {ErrorValue::ID_IN_USE,
                               "the recipe " + relative_name(path) + " holds a value \"" + name + "\" already",
                               Tree::join(Tree::join(path, Key::values), name)};
                }
                return !refusal;
            });
        return refusal;
    }

    Value const& m_tree;
    MemberIndex m_index;
    TypeUsers m_users;
};

bool is_member_path(Move const& move, Place const& place, Value const& tree)
{
    auto const* const owner = RavikSrv::node_path(place.owner, tree).node;
    return place.kind == EntryKind::Inside && owner != nullptr &&
           kind_of(place.owner, *owner) == EntryKind::RecipeType &&
           Tree::split_last(move.path).parent == Tree::join(place.owner, Key::members);
}

} // namespace

Refusal check_new_names(Move const& move, Value const& tree)
{
    auto const place = locate(move.path, tree);
    if (is_member_path(move, place, tree))
    {
        return Names(tree).check(place.owner, Tree::split_last(move.new_path).name, Names::Bearer::Member);
    }
    Refusal refusal;
    if (place.kind == EntryKind::RecipeType || place.kind == EntryKind::Folder)
    {
        Names names(tree);
        for_each_entry(move.path, tree,
                       [&](std::string const& path, Value const& /*type*/, EntryKind kind)
                       {
                           auto const name = relative_name(move.moved(path));
                           auto const is_type = kind == EntryKind::RecipeType;
                           refusal = is_type ? names.check(path, name, Names::Bearer::Type) : Refusal();
                           refusal = refusal || !is_type ? refusal : names.check_values(path, name);
                           return !refusal;
                       });
    }
    return refusal;
}

} // namespace Ravik
