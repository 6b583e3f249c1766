#include "Editing/edit_rules.h"

#include "Configuration/Entry.h"
#include "Configuration/tree.h"
#include "Editing/entry_checks.h"
#include "Editing/name_conflicts.h"
#include "PathIterator.h"
#include "api_helper.h"
#include "Json/Json.h"

namespace Ravik
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;

namespace
{

char const* word(EntryKind kind)
{
    switch (kind)
    {
    case EntryKind::Recipe:
        return "recipe";
    case EntryKind::RecipeType:
        return "recipe type";
    default:
        return "folder";
    }
}

/// Whether the new path is a free one that can be written.
Refusal check_new_path(Move const& move, Value const& tree)
{
    auto const to = Tree::split_last(move.new_path);
    if (move.covers(move.new_path))
    {
        return {ErrorValue::INVALID_PATH, "the new path is the old one or lies below it", move.new_path};
    }
    if (RavikSrv::node_path(move.new_path, tree).node != nullptr)
    {
        return {ErrorValue::ID_IN_USE, "there is an entry at the new path already", move.new_path};
    }
    if (auto refusal = check_name(to.parent, to.name))
    {
        return refusal;
    }
    return check_form(move.new_path, with_move(tree, move));
}

/// What stands inside an entry, or outside both lists, stays in the map that it is in.
Refusal check_rename_inside(Move const& move, Value const& tree)
{
    auto const from = Tree::split_last(move.path);
    auto const* const parent = RavikSrv::node_path(from.parent, tree).node;
    auto const stays = from.parent == Tree::split_last(move.new_path).parent;
    return stays && parent != nullptr && parent->type() != RavikSrv::ValueType::Vector
               ? Refusal()
               : Refusal{ErrorValue::INVALID_PATH,
                         "what stands inside an entry can only get another name in the same place", move.new_path};
}

/// An entry or folder moves between the folders of its list; those that are missing are made.
Refusal check_rename_entry(Move const& move, Value const& tree)
{
    auto const to = Tree::split_last(move.new_path);
    auto const missing = Tree::missing_parents(tree, move.new_path);
    auto const parent = missing.empty() ? to.parent : Tree::split_last(missing.front()).parent;
    auto const same_list = RavikSrv::name_from_path(move.path.c_str()) == RavikSrv::name_from_path(to.parent.c_str());
    if (!same_list || locate(parent, tree).kind != EntryKind::Folder)
    {
        return {ErrorValue::INVALID_PATH, "an entry moves only between the folders of its own list", move.new_path};
    }
    auto on_the_way = missing;
    on_the_way.push_back(move.new_path);
    for (auto const& folder : on_the_way)
    {
        auto const place = Tree::split_last(folder);
        if (auto refusal = check_name(place.parent, place.name))
        {
            return refusal;
        }
        if (makes_entry(place.parent, place.name))
        {
            // It would be taken for the inside of an entry.
            return explained(ErrorValue::BLACKLISTED, move.new_path);
        }
    }
    return {};
}

Refusal check_rename(Move const& move, Value const& tree)
{
    if (auto refusal = check_new_path(move, tree))
    {
        return refusal;
    }
    auto const kind = locate(move.path, tree).kind;
    auto const is_inside = kind == EntryKind::Inside || kind == EntryKind::Other;
    auto refusal = is_inside ? check_rename_inside(move, tree) : check_rename_entry(move, tree);
    return refusal ? refusal : check_new_names(move, tree);
}

} // namespace

Refusal check_path(std::string const& path, bool has_recipes)
{
    std::string first;
    for (RavikSrv::PathIterator components(path); components.next();)
    {
        if (components.component().empty())
        {
            return {ErrorValue::INVALID_PATH, "the path has an empty component", path};
        }
        first = first.empty() ? components.component() : first;
    }
    if (first.empty())
    {
        return {ErrorValue::INVALID_PATH, "name the path of an entry; the whole configuration is changed by an import",
                path};
    }
    if (auto const obstacle = Json::obstacle(Value(path.c_str())); !obstacle.empty())
    {
        return {ErrorValue::ENCODE, "the path can't be stored: " + obstacle, ""};
    }
    if (has_recipes && first != Key::recipe_type_list && first != Key::recipe_list)
    {
        return {ErrorValue::INVALID_PATH,
                R"(a path begins with "recipeTypeList" or "recipeList", not with ")" + first.substr(0, longest_name) +
                    "\"",
                path};
    }
    return {};
}

Refusal check_form(std::string const& path, Value const& tree)
{
    auto const owner = locate(path, tree).owner;
    return path.starts_with(owner)
               ? Refusal()
               : Refusal{ErrorValue::INVALID_PATH, "an entry is named by its name, without brackets: " + owner, path};
}

Refusal check_set(std::string const& path, Value const& before, Value const& after)
{
    Refusal refusal;
    for_each_entry(
        path, before,
        [&](std::string const& entry, Value const& value, EntryKind kind)
        {
            auto const* const node = RavikSrv::node_path(entry, after).node;
            auto const now = node == nullptr ? EntryKind::Neither : kind_of(entry, *node);
            auto const is_empty_folder = kind == EntryKind::Folder && value.empty() && node != nullptr;
            if (now != kind && !is_empty_folder && kind != EntryKind::Neither)
            {
                auto const text = node == nullptr ? std::string(" would disappear; delete it by its name")
                                                  : " would become " +
                                                        (now == EntryKind::Neither ? std::string("something else")
                                                                                   : std::string("a ") + word(now)) +
                                                        "; delete it first";
                refusal = {ErrorValue::TYPE_MISMATCH, std::string("a ") + word(kind) + text, entry};
            }
            return !refusal;
        },
        Folders::Visited);
    return refusal;
}

Refusal check_move(Move const& move, Value const& tree)
{
    auto const reached = RavikSrv::node_path(move.path, tree);
    if (reached.node == nullptr)
    {
        return {ErrorValue::ENTRY_NOT_FOUND, "there is no such entry", move.path};
    }
    if (Tree::split_last(move.path).parent.empty() && !move.is_delete())
    {
        return {ErrorValue::INVALID_PATH, "the lists themselves have their names for good", move.path};
    }
    auto refusal = check_form(move.path, tree);
    return refusal || move.is_delete() ? refusal : check_rename(move, tree);
}

Refusal check_copy(std::string const& path, std::string const& new_path, Value const& tree)
{
    if (RavikSrv::node_path(path, tree).node == nullptr)
    {
        return {ErrorValue::ENTRY_NOT_FOUND, "there is nothing at this path", path};
    }
    auto const kind = locate(path, tree).kind;
    if (kind != EntryKind::Recipe && kind != EntryKind::RecipeType)
    {
        return {ErrorValue::TYPE_MISMATCH,
                path + (kind == EntryKind::Folder ? " is a folder; its entries are copied one by one"
                                                  : " is neither a recipe nor a recipe type; 'get' shows what stands "
                                                    "there, and 'set' writes it elsewhere"),
                path};
    }
    auto const* const list = kind == EntryKind::Recipe ? Key::recipe_list : Key::recipe_type_list;
    if (!new_path.starts_with(list + RavikSrv::path_separator()))
    {
        return {ErrorValue::INVALID_PATH,
                new_path + ": a copy of " + path + " needs a full path in the same list: " + list +
                    RavikSrv::path_separator() + "NAME",
                new_path};
    }
    return RavikSrv::node_path(new_path, tree).node == nullptr
               ? Refusal()
               : Refusal{ErrorValue::UNIQUE, new_path + " is taken; delete it first, or give the copy another name",
                         new_path};
}

} // namespace Ravik
