#include "Configuration/expectation.h"

#include "Configuration/Entry.h"
#include "Configuration/references.h"
#include "Configuration/tree.h"
#include "PathIterator.h"
#include "algorithm_helper.h"
#include "api_helper.h"

#include <algorithm>
#include <map>
#include <set>
#include <unordered_set>
#include <utility>

namespace Ravik
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

/// Brings the references of a tree into line with a move that has been made in it.
class Carrier
{
public:
    Carrier(Value const& before, Move const& move)
        : m_move(move), m_references(affected(before, move)), m_tree(with_move(before, move)), m_before(before)
    {
    }

    Value carry()
    {
        if (m_move.is_delete())
        {
            remove_recipes_of_deleted_types();
            find_removed_members();
        }
        // From the back, so that the indices of inherited names hold while earlier ones are removed.
        std::for_each(m_references.rbegin(), m_references.rend(),
                      [this](Reference const& reference)
                      {
                          if (is_gone(reference.target))
                          {
                              follow_delete(reference);
                          }
                          else if (!m_move.is_delete())
                          {
                              follow_rename(reference);
                          }
                      });
        if (!m_removed.empty())
        {
            empty_what_comes_to_name_removed_recipes();
        }
        return m_tree;
    }

private:
    /// The references that the move may concern. A delete takes recipes and members along that others name; a value
    /// keeps its key unless its member is renamed itself.
    static std::vector<Reference> affected(Value const& tree, Move const& move)
    {
        return read_references(tree,
                               [&move](Reference const& reference)
                               {
                                   auto const is_covered = reference.found && move.covers(reference.target);
                                   if (reference.kind == Reference::Kind::ValueMember)
                                   {
                                       return !move.is_delete() && is_covered && reference.target == move.path;
                                   }
                                   return is_covered ||
                                          (move.is_delete() && reference.kind != Reference::Kind::RecipeType);
                               });
    }

    bool is_gone(std::string const& path) const
    {
        return (m_move.is_delete() && m_move.covers(path)) || m_removed.contains(path);
    }

    void remove_recipes_of_deleted_types()
    {
        std::map<std::string, std::set<std::string>> names_by_folder;
        for (auto const& reference : m_references)
        {
            if (reference.kind == Reference::Kind::RecipeType && reference.found && m_move.covers(reference.target))
            {
                auto const recipe = Tree::split_last(reference.holder).parent;
                auto const place = Tree::split_last(recipe);
                names_by_folder[place.parent].insert(place.name);
                m_removed.insert(recipe);
            }
        }
        for (auto const& [folder, names] : names_by_folder)
        {
            remove_entries(folder, names);
        }
    }

    /// In one go, since removing one entry takes time linear in its map.
    void remove_entries(std::string const& folder, std::set<std::string> const& names)
    {
        auto const present = *RavikSrv::node_path(folder, std::as_const(m_tree)).node;
        Value kept(ValueType::Map);
        for (auto entry = present.begin(); entry != present.end(); ++entry)
        {
            if (!names.contains(entry.name()))
            {
                kept.insert(entry.name(), *entry);
            }
        }
        rewrite(folder, kept);
    }

    /// Members that nest a deleted type go with it. What recipes hold for them stays, and names nothing any more.
    void find_removed_members()
    {
        for (auto const& reference : m_references)
        {
            if (reference.kind == Reference::Kind::NestedType && is_gone(reference.target))
            {
                m_removed.insert(Tree::split_last(reference.holder).parent);
            }
        }
        std::erase_if(m_references, [this](Reference const& reference)
                      { return reference.kind == Reference::Kind::NestedRecipe && is_gone(reference.member); });
    }

    /// A member that went may have stood before another of its name, for which its values stand now.
    void empty_what_comes_to_name_removed_recipes()
    {
        auto const names_removed = [this](Reference const& reference)
        { return reference.kind == Reference::Kind::NestedRecipe && m_removed.contains(reference.target); };
        for (auto const& reference : read_references(m_tree, names_removed))
        {
            rewrite(reference.holder, Value(""));
        }
    }

    /// A holder that is gone itself is not found in the tree any more, and nothing happens.
    void follow_delete(Reference const& reference)
    {
        auto const holder = reference.holder;
        switch (reference.kind)
        {
        case Reference::Kind::InheritedType:
            remove(holder);
            break;
        case Reference::Kind::NestedType:
            remove(Tree::split_last(holder).parent);
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
        rewrite(holder, Value((is_full_path ? target : relative_name(target)).c_str()));
    }

    /// Nothing happens where nothing stands.
    void rewrite(std::string const& path, Value const& value)
    {
        Value const& present = m_tree;
        if (RavikSrv::node_path(path, present).node != nullptr)
        {
            write(path, value);
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
            write(Tree::join(place.parent, name), kept);
            remove(path);
        }
    }

    // The paths come from the tree itself; what has gone in the meantime needs no change any more.

    void write(std::string const& path, Value const& value)
    {
        static_cast<void>(Tree::write(m_tree, path, value, Tree::WriteMode::Replace, m_changes));
    }

    void remove(std::string const& path) { static_cast<void>(Tree::remove(m_tree, path, m_changes)); }

    Move const& m_move;
    std::vector<Reference> m_references;
    Value m_tree;
    Value const& m_before;
    /// The recipes and members that go with a deleted type.
    std::unordered_set<std::string> m_removed;
    std::vector<Tree::Change> m_changes;
};

/// Null where nothing stands.
void compare(std::string const& path, Value const* expected, Value const* actual, std::vector<Difference>& found)
{
    auto const copy = [](Value const* value) { return value == nullptr ? std::nullopt : std::optional(*value); };
    if (expected == nullptr || actual == nullptr)
    {
        if (expected != actual)
        {
            found.push_back({.path = path, .expected = copy(expected), .actual = copy(actual)});
        }
        return;
    }
    if (*expected == *actual)
    {
        return;
    }
    if (expected->type() != ValueType::Map || actual->type() != ValueType::Map)
    {
        found.push_back({.path = path, .expected = *expected, .actual = *actual});
        return;
    }
    for (auto entry = expected->begin(); entry != expected->end(); ++entry)
    {
        compare(Tree::join(path, entry.name()), &*entry, RavikSrv::node(actual, entry.name()), found);
    }
    for (auto entry = actual->begin(); entry != actual->end(); ++entry)
    {
        if (expected->find(entry.name()) == expected->end())
        {
            found.push_back({.path = Tree::join(path, entry.name()), .expected = std::nullopt, .actual = *entry});
        }
    }
}

/// The elements of a list that were replaced or, where it became shorter, removed; the list itself where that does not
/// tell what happened to it.
std::vector<Touched> changed_elements(Touched const& list, Value const& before, Value const& after)
{
    std::vector<Touched> changed;
    std::vector<Value> const old(before.begin_vector(), before.end_vector());
    std::vector<Value> const present(after.begin_vector(), after.end_vector());
    auto const is_shorter = present.size() < old.size();
    std::size_t kept = 0;
    for (std::size_t index = 0; index != old.size(); ++index)
    {
        auto const counterpart = is_shorter ? kept : index;
        if (counterpart < present.size() && old[index] == present[counterpart])
        {
            ++kept;
            continue;
        }
        changed.push_back(
            {.domain = list.domain, .path = list.path + "[" + std::to_string(index) + "]", .removed = is_shorter});
    }
    auto const is_told = is_shorter ? kept == present.size() : old.size() == present.size();
    return is_told ? changed : std::vector<Touched>{list};
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
        // The move has been checked: each of the places can be written.
        static_cast<void>(Tree::remove(after, move.path, changes));
        if (!move.is_delete())
        {
            static_cast<void>(Tree::write(after, move.new_path, *node, Tree::WriteMode::ReplaceInPath, changes));
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
    for (auto const* const list : {Key::recipe_type_list, Key::recipe_list})
    {
        compare(list, RavikSrv::node(&expected, list), RavikSrv::node(&actual, list), found);
    }
    return found;
}

std::vector<Touched> consequences(std::string const& domain, Move const& move, Value const& before,
                                  Value const& expected)
{
    std::vector<Touched> places;
    if (move.is_delete())
    {
        for_each_entry(move.path, before,
                       [&](std::string const& path, Value const& /*entry*/, EntryKind kind)
                       {
                           if (path != move.path && kind != EntryKind::Inside)
                           {
                               places.push_back({.domain = domain, .path = path, .removed = true});
                           }
                           return true;
                       });
    }
    for (auto const& difference : differences(expected, with_move(before, move)))
    {
        Touched const place{.domain = domain, .path = difference.path, .removed = !difference.expected};
        auto const is_list = difference.expected && difference.actual &&
                             difference.expected->type() == ValueType::Vector &&
                             difference.actual->type() == ValueType::Vector;
        auto const changed =
            is_list ? changed_elements(place, *difference.actual, *difference.expected) : std::vector<Touched>{place};
        places.insert(places.end(), changed.begin(), changed.end());
    }
    return places;
}

} // namespace Ravik
