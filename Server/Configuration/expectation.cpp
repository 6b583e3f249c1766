#include "Configuration/expectation.h"

#include "Configuration/Entry.h"
#include "Configuration/references.h"
#include "Configuration/tree.h"
#include "PathIterator.h"
#include "algorithm_helper.h"
#include "api_helper.h"

#include <algorithm>

namespace Ravik
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

/// The path without the list and the separator that it begins with: the name by which entries refer to it.
std::string relative(std::string const& path)
{
    return path.substr(path.find(RavikSrv::separator_text) + RavikSrv::separator_text.size());
}

/// Brings the references of a tree into line with a move that has been made in it.
class Carrier
{
public:
    Carrier(Value const& before, Move const& move)
        : m_move(move), m_references(read_references(before)), m_tree(with_move(before, move)), m_before(before)
    {
    }

    Value carry()
    {
        if (m_move.is_delete())
        {
            remove_recipes_of_deleted_types();
        }
        // From the back, so that the indices of inherited names hold while earlier ones are removed.
        std::for_each(m_references.rbegin(), m_references.rend(),
                      [this](Reference const& reference)
                      {
                          if (is_gone(reference.target))
                          {
                              follow_delete(reference);
                          }
                          else if (!m_move.is_delete() && m_move.covers(reference.target) && reference.found)
                          {
                              follow_rename(reference);
                          }
                      });
        return m_tree;
    }

private:
    bool is_gone(std::string const& path) const
    {
        return (m_move.is_delete() && m_move.covers(path)) ||
               std::binary_search(m_removed_recipes.begin(), m_removed_recipes.end(), path);
    }

    void remove_recipes_of_deleted_types()
    {
        for (auto const& reference : m_references)
        {
            if (reference.kind == Reference::Kind::RecipeType && reference.found && m_move.covers(reference.target))
            {
                m_removed_recipes.push_back(Tree::split_last(reference.holder).parent);
            }
        }
        std::sort(m_removed_recipes.begin(), m_removed_recipes.end());
        for (auto const& recipe : m_removed_recipes)
        {
            Tree::remove(m_tree, recipe, m_changes);
        }
        m_changes.clear();
    }

    /// A holder that is gone itself is not found in the tree any more, and nothing happens.
    void follow_delete(Reference const& reference)
    {
        auto const holder = reference.holder;
        switch (reference.kind)
        {
        case Reference::Kind::InheritedType:
            Tree::remove(m_tree, holder, m_changes);
            break;
        case Reference::Kind::NestedType:
            Tree::remove(m_tree, Tree::split_last(holder).parent, m_changes);
            break;
        case Reference::Kind::NestedRecipe:
            rewrite(holder, Value(""));
            break;
        case Reference::Kind::RecipeType:
        case Reference::Kind::ValueMember:
            break;
        }
    }

    void follow_rename(Reference const& reference)
    {
        auto const holder = m_move.moved(reference.holder);
        auto const target = m_move.moved(reference.target);
        if (reference.kind == Reference::Kind::ValueMember)
        {
            rename_key(holder, Tree::split_last(target).name);
            return;
        }
        auto const name = RavikSrv::node_path(reference.holder, m_before).node->get_string();
        auto const is_full_path = reference.target == name;
        rewrite(holder, Value((is_full_path ? target : relative(target)).c_str()));
    }

    void rewrite(std::string const& path, Value const& value)
    {
        Value const& present = m_tree;
        if (RavikSrv::node_path(path, present).node != nullptr)
        {
            Tree::write(m_tree, path, value, Tree::WriteMode::Replace, m_changes);
        }
    }

    void rename_key(std::string const& path, std::string const& name)
    {
        auto const place = Tree::split_last(path);
        Value const& present = m_tree;
        auto const* const value = RavikSrv::node_path(path, present).node;
        if (value != nullptr && place.name != name)
        {
            auto const kept = *value;
            Tree::write(m_tree, Tree::join(place.parent, name), kept, Tree::WriteMode::Replace, m_changes);
            Tree::remove(m_tree, path, m_changes);
        }
    }

    Move const& m_move;
    std::vector<Reference> m_references;
    Value m_tree;
    Value const& m_before;
    std::vector<std::string> m_removed_recipes;
    std::vector<Tree::Change> m_changes;
};

void compare(std::string const& path, Value const& expected, Value const& actual, std::vector<Difference>& found)
{
    if (expected == actual)
    {
        return;
    }
    if (expected.type() != ValueType::Map || actual.type() != ValueType::Map)
    {
        found.push_back({.path = path, .expected = expected, .actual = actual});
        return;
    }
    for (auto entry = expected.begin(); entry != expected.end(); ++entry)
    {
        compare(Tree::join(path, entry.name()), *entry, actual[entry.name()], found);
    }
    for (auto entry = actual.begin(); entry != actual.end(); ++entry)
    {
        if (expected.find(entry.name()) == expected.end())
        {
            found.push_back({.path = Tree::join(path, entry.name()), .expected = {}, .actual = *entry});
        }
    }
}

} // namespace

bool Move::covers(std::string const& other) const
{
    return other.starts_with(path) &&
           (other.size() == path.size() ||
            std::string_view(other).substr(path.size()).starts_with(RavikSrv::separator_text));
}

std::string Move::moved(std::string const& other) const
{
    return !is_delete() && covers(other) ? new_path + other.substr(path.size()) : other;
}

Value with_move(Value const& tree, Move const& move)
{
    auto after = tree;
    std::vector<Tree::Change> changes;
    auto const* const node = RavikSrv::node_path(move.path, tree).node;
    if (node != nullptr)
    {
        Tree::remove(after, move.path, changes);
        if (!move.is_delete())
        {
            for (auto const& parent : Tree::missing_parents(after, move.new_path))
            {
                Tree::write(after, parent, Value(ValueType::Map), Tree::WriteMode::Replace, changes);
            }
            Tree::write(after, move.new_path, *node, Tree::WriteMode::Replace, changes);
        }
    }
    return after;
}

Value expected_after(Value const& tree, Move const& move)
{
    return Carrier(tree, move).carry();
}

std::vector<Difference> differences(Value const& expected, Value const& actual)
{
    std::vector<Difference> found;
    for (auto const list : {recipe_type_list, recipe_list})
    {
        std::string const name(list);
        compare(name, expected[name.c_str()], actual[name.c_str()], found);
    }
    return found;
}

} // namespace Ravik
