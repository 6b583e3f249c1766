#include "Configuration/Entry.h"

#include "Configuration/tree.h"
#include "PathIterator.h"
#include "api_helper.h"

namespace Ravik
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

bool is_object(Value const& value)
{
    return value.type() == ValueType::Map || value.type() == ValueType::Struct;
}

bool has(Value const& object, char const* key)
{
    return object.find(key) != object.end();
}

bool in_list(std::string_view path, std::string_view list)
{
    return path.starts_with(list) &&
           (path.size() == list.size() || path.substr(list.size()).starts_with(RavikSrv::separator_text));
}

/// Returns whether the walk goes on.
bool walk(std::string const& path, Value const& node, EntryVisit const& visit, Folders folders)
{
    auto const kind = kind_of(path, node);
    if (kind != EntryKind::Folder)
    {
        return visit(path, node, kind);
    }
    if (folders == Folders::Visited && !visit(path, node, kind))
    {
        return false;
    }
    for (auto entry = node.begin(); entry != node.end(); ++entry)
    {
        if (!walk(Tree::join(path, entry.name()), *entry, visit, folders))
        {
            return false;
        }
    }
    return true;
}

} // namespace

char const* schema_type(EntryKind kind) noexcept
{
    switch (kind)
    {
    case EntryKind::RecipeType:
        return "recipeType";
    case EntryKind::Recipe:
        return "recipe";
    default:
        return "";
    }
}

EntryKind kind_of(std::string_view path, Value const& value)
{
    auto const types = in_list(path, Key::recipe_type_list);
    if (!types && !in_list(path, Key::recipe_list))
    {
        return EntryKind::Other;
    }
    if (!is_object(value))
    {
        return EntryKind::Neither;
    }
    if (path == Key::recipe_type_list || path == Key::recipe_list)
    {
        return EntryKind::Folder;
    }
    if (types)
    {
        return has(value, Key::members) ? EntryKind::RecipeType : EntryKind::Folder;
    }
    return has(value, Key::recipe_type_name) || has(value, Key::values) ? EntryKind::Recipe : EntryKind::Folder;
}

bool makes_entry(std::string const& path, std::string const& name)
{
    Value folder(ValueType::Map);
    folder.insert(name.c_str(), Value());
    auto const kind = kind_of(path, folder);
    return kind == EntryKind::RecipeType || kind == EntryKind::Recipe;
}

Place locate(std::string const& path, Value const& root)
{
    std::string reached;
    auto kind = EntryKind::Other;
    auto const* node = &root;
    for (RavikSrv::PathIterator components(path); components.next();)
    {
        if (kind == EntryKind::Recipe || kind == EntryKind::RecipeType)
        {
            return {.kind = EntryKind::Inside, .owner = reached};
        }
        node = RavikSrv::node(node, components.component());
        reached = Tree::join(reached, components.component());
        if (kind == EntryKind::Other && !in_list(reached, Key::recipe_type_list) && !in_list(reached, Key::recipe_list))
        {
            return {.kind = EntryKind::Other, .owner = reached};
        }
        if (node == nullptr)
        {
            return {.kind = EntryKind::Neither, .owner = reached};
        }
        kind = kind_of(reached, *node);
    }
    return {.kind = kind, .owner = reached};
}

void for_each_entry(std::string const& path, Value const& root, EntryVisit const& visit, Folders folders)
{
    if (path.empty())
    {
        for (auto const list : {Key::recipe_type_list, Key::recipe_list})
        {
            auto const* const node = RavikSrv::node(&root, std::string(list));
            if (node != nullptr && !walk(std::string(list), *node, visit, folders))
            {
                return;
            }
        }
        return;
    }
    auto const reached = RavikSrv::node_path(path, root);
    if (reached.node != nullptr && locate(path, root).kind != EntryKind::Inside &&
        kind_of(path, *reached.node) != EntryKind::Other)
    {
        walk(path, *reached.node, visit, folders);
    }
}

std::string relative_name(std::string const& path)
{
    auto const separator = path.find(RavikSrv::separator_text);
    return separator == std::string::npos ? std::string() : path.substr(separator + RavikSrv::separator_text.size());
}

bool is_last_entry(std::string const& path, Value const& tree)
{
    auto const* folder = &tree;
    for (RavikSrv::PathIterator components(path); components.next();)
    {
        auto const entry = folder->find(components.component().c_str());
        auto next = entry;
        if (folder != &tree && ++next != folder->end())
        {
            return false;
        }
        folder = &*entry;
    }
    return true;
}

std::vector<std::string> entry_paths(std::string const& path, Value const& tree)
{
    std::vector<std::string> paths;
    for_each_entry(path, tree,
                   [&paths](std::string const& entry, Value const& /*value*/, EntryKind /*kind*/)
                   {
                       paths.push_back(entry);
                       return true;
                   });
    return paths;
}

Value lists_of(Value const& tree)
{
    Value both(ValueType::Map);
    for (auto const* const list : {Key::recipe_type_list, Key::recipe_list})
    {
        Value const& entries = tree[list];
        both.insert(list, entries.isset() ? entries : Value(ValueType::Map));
    }
    return both;
}

} // namespace Ravik
