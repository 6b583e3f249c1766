#include "Configuration/tree.h"

#include "PathIterator.h"
#include "RavikSrvExt/MapBuilder.h"
#include "algorithm_helper.h"
#include "api_helper.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace Ravik::Tree
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

bool is_map(Value const& value)
{
    return value.type() == ValueType::Map || value.type() == ValueType::Struct;
}

/// Whether `parent` holds an entry of that name or, for a map, could.
bool can_hold(Value const& parent, std::string const& name)
{
    return is_map(parent) || (parent.type() == ValueType::Vector && RavikSrv::node(&parent, name) != nullptr);
}

/// Whether `name` is the index behind the last element of `parent`.
bool is_behind_last(Value const& parent, std::string const& name)
{
    return parent.type() == ValueType::Vector && name == std::to_string(parent.size());
}

/// Adds an entry that `holder` does not have but can hold.
void add(Value& holder, std::string const& name, Value const& value)
{
    if (holder.type() == ValueType::Vector)
    {
        holder << value;
    }
    else
    {
        holder.insert(name.c_str(), value);
    }
}

/// Puts `value` at `name` of the map or vector at `parent`; the tree has been checked to take it.
void put(Value& root, std::string const& parent, std::string const& name, Value const& value,
         std::vector<Change>& changes)
{
    auto* const holder = RavikSrv::node_path(parent, root).node;
    Change change{.parent = parent, .name = name, .before = std::nullopt, .after = value};
    if (auto* const present = RavikSrv::node(holder, name); present != nullptr)
    {
        change.before = *present;
        changes.push_back(std::move(change));
        *present = value;
    }
    else
    {
        changes.push_back(std::move(change));
        add(*holder, name, value);
    }
}

void merge(Value& root, std::string const& path, Value const& entries, std::vector<Change>& changes)
{
    for (auto entry = entries.begin(); entry != entries.end(); ++entry)
    {
        put(root, path, entry.name(), *entry, changes);
    }
}

std::size_t position_of(Value const& parent, std::string const& name)
{
    std::size_t position = 0;
    if (parent.type() == ValueType::Vector)
    {
        RavikSrv::Algorithm::try_as_size_t(name, position);
        return position;
    }
    auto const found = parent.find(name.c_str());
    return found == parent.end() ? parent.size() : static_cast<std::size_t>(&*found - &*parent.begin());
}

void erase(Value& parent, std::string const& name)
{
    if (parent.type() == ValueType::Vector)
    {
        parent.erase(position_of(parent, name));
    }
    else
    {
        parent.erase(name.c_str());
    }
}

/// Removals of entries of one map, in the order of their making.
using Removals = std::vector<Change const*>;

/// Whether so many entries of the map are better removed, or put back, in one pass over it.
bool is_worth_a_pass(Value const& map, std::size_t count)
{
    constexpr std::size_t share = 16;
    return map.type() != ValueType::Vector && count > 1 && count * share > map.size();
}

/// The map with these entries, in their order.
using Entries = std::vector<std::pair<std::string_view, Value const*>>;

Value map_of(Entries const& entries, ValueType type)
{
    RavikSrv::MapBuilder map;
    for (auto const& [name, value] : entries)
    {
        map.insert(name, Value(*value));
    }
    auto built = map.finish();
    built.convert(type);
    return built;
}

void remove_all(Value& map, Removals const& removals)
{
    std::unordered_set<std::string_view> gone;
    std::transform(removals.begin(), removals.end(), std::inserter(gone, gone.end()),
                   [](Change const* removal) { return std::string_view(removal->name); });
    Entries left;
    Value const& present = map;
    for (auto entry = present.begin(); entry != present.end(); ++entry)
    {
        if (!gone.contains(entry.name()))
        {
            left.emplace_back(entry.name(), &*entry);
        }
    }
    map = map_of(left, map.type());
}

void put_back_all(Value& map, Removals const& removals)
{
    Entries entries;
    Value const& present = map;
    for (auto entry = present.begin(); entry != present.end(); ++entry)
    {
        entries.emplace_back(entry.name(), &*entry);
    }
    std::for_each(removals.rbegin(), removals.rend(),
                  [&entries](Change const* removal)
                  {
                      auto const place = entries.begin() + static_cast<std::ptrdiff_t>(removal->position);
                      entries.emplace(place, removal->name, &*removal->before);
                  });
    map = map_of(entries, map.type());
}

/// Puts a removed entry back where it stood.
void reinsert(Value& parent, Change const& change)
{
    if (parent.type() == ValueType::Vector)
    {
        parent.insert(parent.begin_vector() + static_cast<std::ptrdiff_t>(change.position), *change.before);
    }
    else
    {
        put_back_all(parent, {&change});
    }
}

void apply(Value& root, Change const& change)
{
    auto* const parent = RavikSrv::node_path(change.parent, root).node;
    if (change.is_removal())
    {
        erase(*parent, change.name);
    }
    else if (change.before)
    {
        *RavikSrv::node(parent, change.name) = *change.after;
    }
    else
    {
        add(*parent, change.name, *change.after);
    }
}

void take_back(Value& root, Change const& change)
{
    auto* const parent = RavikSrv::node_path(change.parent, root).node;
    if (change.is_removal())
    {
        reinsert(*parent, change);
    }
    else if (change.before)
    {
        *RavikSrv::node(parent, change.name) = *change.before;
    }
    else
    {
        erase(*parent, change.name);
    }
}

void apply_run(Value& root, Removals const& run)
{
    if (auto& parent = *RavikSrv::node_path(run.front()->parent, root).node; is_worth_a_pass(parent, run.size()))
    {
        remove_all(parent, run);
        return;
    }
    std::for_each(run.begin(), run.end(), [&root](Change const* change) { apply(root, *change); });
}

void take_back_run(Value& root, Removals const& run)
{
    if (auto& parent = *RavikSrv::node_path(run.front()->parent, root).node; is_worth_a_pass(parent, run.size()))
    {
        put_back_all(parent, run);
        return;
    }
    std::for_each(run.rbegin(), run.rend(), [&root](Change const* change) { take_back(root, *change); });
}

/// The changes in runs: removals of entries of one map that follow one another, any other change by itself.
std::vector<Removals> in_runs(std::vector<Change const*> const& changes)
{
    std::vector<Removals> runs;
    for (auto const* const change : changes)
    {
        auto const continues = !runs.empty() && change->is_removal() && runs.back().back()->is_removal() &&
                               runs.back().back()->parent == change->parent;
        continues ? runs.back().push_back(change) : runs.push_back({change});
    }
    return runs;
}

} // namespace

bool has_empty_component(std::string const& path)
{
    for (RavikSrv::PathIterator components(path); components.next();)
    {
        if (components.component().empty())
        {
            return true;
        }
    }
    return false;
}

bool is_path_component(std::string const& name)
{
    RavikSrv::PathIterator components(name);
    return components.next() && components.component() == name && !components.next() && !name.starts_with(':') &&
           !name.ends_with(':');
}

std::vector<std::string> missing_parents(Value const& root, std::string const& path)
{
    std::vector<std::string> missing;
    auto parent = split_last(path).parent;
    while (!parent.empty() && RavikSrv::node_path(parent, root).node == nullptr)
    {
        missing.insert(missing.begin(), parent);
        parent = split_last(parent).parent;
    }
    return missing;
}

SplitPath split_last(std::string const& path)
{
    std::size_t split = 0;
    std::size_t name_start = 0;
    auto const separator = path.rfind(RavikSrv::separator_text);
    if (separator != std::string::npos)
    {
        split = separator;
        name_start = separator + RavikSrv::separator_text.size();
    }
    if (path.find_first_of(":[", name_start) == std::string::npos)
    {
        return {.parent = path.substr(0, split), .name = path.substr(name_start)};
    }
    // An index behind the last name is a component of its own.
    std::string last;
    std::size_t components = 0;
    for (RavikSrv::PathIterator walk(std::string_view(path).substr(name_start)); walk.next(); ++components)
    {
        last = walk.component();
    }
    if (components > 1)
    {
        return {.parent = path.substr(0, path.rfind('[')), .name = last};
    }
    return {.parent = path.substr(0, split), .name = last};
}

std::string join(std::string_view parent, std::string_view name)
{
    std::string path(parent);
    if (!path.empty())
    {
        path += RavikSrv::separator_text;
    }
    return path += name;
}

Value alone(std::string const& path, Value const& value)
{
    Value tree(ValueType::Map);
    auto* node = &tree;
    for (RavikSrv::PathIterator components(path); components.next();)
    {
        node = &(*node)[components.component().c_str()];
    }
    *node = value;
    return tree;
}

ErrorValue write(Value& root, std::string const& path, Value const& value, WriteMode mode, std::vector<Change>& changes)
{
    if (has_empty_component(path) || (path.empty() && !is_map(value)))
    {
        return ErrorValue::INVALID_PATH;
    }
    Value const& present = root;
    auto const target = RavikSrv::node_path(path, present);
    if (mode == WriteMode::Merge && target.node != nullptr && is_map(*target.node) && is_map(value))
    {
        merge(root, path, value, changes);
        return ErrorValue::SUCCESS;
    }
    if (path.empty())
    {
        auto result = ErrorValue::SUCCESS;
        while (root.size() != 0 && result == ErrorValue::SUCCESS)
        {
            result = remove(root, present.begin().name(), changes);
        }
        merge(root, path, value, changes);
        return result;
    }
    auto const missing = mode == WriteMode::ReplaceInPath ? missing_parents(root, path) : std::vector<std::string>();
    auto const place = split_last(path);
    auto const first = missing.empty() ? place : split_last(missing.front());
    auto const* const parent = RavikSrv::node_path(first.parent, present).node;
    auto const may_append = mode == WriteMode::ReplaceInPath && missing.empty();
    if (parent == nullptr || !(can_hold(*parent, first.name) || (may_append && is_behind_last(*parent, first.name))))
    {
        return ErrorValue::ENTRY_NOT_FOUND;
    }
    for (auto const& folder : missing)
    {
        auto const made = split_last(folder);
        put(root, made.parent, made.name, Value(ValueType::Map), changes);
    }
    put(root, place.parent, place.name, value, changes);
    return ErrorValue::SUCCESS;
}

ErrorValue remove(Value& root, std::string const& path, std::vector<Change>& changes)
{
    if (path.empty() || has_empty_component(path))
    {
        return ErrorValue::INVALID_PATH;
    }
    Value const& present = root;
    auto const place = split_last(path);
    auto const parent = RavikSrv::node_path(place.parent, present);
    auto const* const entry = RavikSrv::node(parent.node, place.name);
    if (entry == nullptr)
    {
        return ErrorValue::ENTRY_NOT_FOUND;
    }
    changes.push_back({.parent = place.parent,
                       .name = place.name,
                       .before = *entry,
                       .after = std::nullopt,
                       .position = position_of(*parent.node, place.name)});
    erase(*RavikSrv::node_path(place.parent, root).node, place.name);
    return ErrorValue::SUCCESS;
}

void remove_at(Value& map, std::vector<std::size_t> const& positions)
{
    Value const& present = map;
    Entries left;
    std::vector<std::string> names;
    auto next = positions.begin();
    std::size_t position = 0;
    for (auto entry = present.begin(); entry != present.end(); ++entry, ++position)
    {
        if (next != positions.end() && *next == position)
        {
            names.emplace_back(entry.name());
            ++next;
        }
        else
        {
            left.emplace_back(entry.name(), &*entry);
        }
    }
    if (is_worth_a_pass(map, positions.size()))
    {
        map = map_of(left, map.type());
        return;
    }
    std::for_each(names.begin(), names.end(), [&map](std::string const& name) { map.erase(name.c_str()); });
}

void apply(Value& root, std::vector<Change const*> const& changes)
{
    auto const runs = in_runs(changes);
    std::for_each(runs.begin(), runs.end(), [&root](Removals const& run) { apply_run(root, run); });
}

void take_back(Value& root, std::vector<Change const*> const& changes)
{
    auto const runs = in_runs(changes);
    std::for_each(runs.rbegin(), runs.rend(), [&root](Removals const& run) { take_back_run(root, run); });
}

} // namespace Ravik::Tree
