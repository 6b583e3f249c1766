#include "Configuration/place_changes.h"

#include "Configuration/Entry.h"
#include "Configuration/StoreError.h"
#include "PathIterator.h"
#include "api_helper.h"
#include "Json/Json.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace Ravik
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

std::optional<Value> copy(Value const* value)
{
    return value == nullptr ? std::nullopt : std::optional(*value);
}

bool is_entry(std::string const& path, Value const* value)
{
    auto const kind = value == nullptr ? EntryKind::Other : kind_of(path, *value);
    return kind == EntryKind::Recipe || kind == EntryKind::RecipeType;
}

/// A place in both trees; null where nothing stands.
struct Spot
{
    std::string path;
    /// Whether it lies inside an entry.
    bool inside = false;
    Value const* before = nullptr;
    Value const* after = nullptr;

    bool are_maps() const
    {
        return before != nullptr && after != nullptr && before->type() == ValueType::Map &&
               after->type() == ValueType::Map;
    }
    bool differs() const
    {
        return (before == nullptr) != (after == nullptr) || (before != nullptr && !(*before == *after));
    }
    Spot below(std::string const& name) const
    {
        return {.path = Tree::join(path, name),
                .inside = inside || is_entry(path, before) || is_entry(path, after),
                .before = before == nullptr ? nullptr : RavikSrv::node(before, name),
                .after = after == nullptr ? nullptr : RavikSrv::node(after, name)};
    }
};

/// Collects the places of one domain.
class Collector
{
public:
    Collector(std::string const& domain, TreePair trees, std::vector<PlaceChange>& places)
        : m_domain(domain), m_trees(std::move(trees)), m_places(places)
    {
    }

    /// Compares what stands at and below the path, or where it can't be followed in both trees, what stands there.
    void compare(std::string const& path)
    {
        Spot spot{.path = {}, .before = &m_trees.before, .after = &m_trees.after};
        for (RavikSrv::PathIterator components(path); components.next() && spot.are_maps();)
        {
            spot = spot.below(components.component());
        }
        compare(spot);
    }

private:
    void compare(Spot const& spot)
    {
        if (!spot.differs())
        {
            return;
        }
        if (!spot.are_maps())
        {
            add(spot);
            return;
        }
        auto const different = differing_below(spot);
        auto const has_path = [](auto const& below) { return Tree::is_path_component(below.first); };
        if (!std::all_of(different.begin(), different.end(), has_path))
        {
            add(spot);
            return;
        }
        std::for_each(different.begin(), different.end(), [this](auto const& below) { compare(below.second); });
    }

    static std::vector<std::pair<std::string, Spot>> differing_below(Spot const& spot)
    {
        std::vector<std::pair<std::string, Spot>> different;
        auto const look_at = [&](std::string const& name)
        {
            if (auto below = spot.below(name); below.differs())
            {
                different.emplace_back(name, std::move(below));
            }
        };
        for (auto entry = spot.before->begin(); entry != spot.before->end(); ++entry)
        {
            look_at(entry.name());
        }
        for (auto entry = spot.after->begin(); entry != spot.after->end(); ++entry)
        {
            if (spot.before->find(entry.name()) == spot.before->end())
            {
                look_at(entry.name());
            }
        }
        return different;
    }

    void add(Spot const& spot)
    {
        if (!m_found.insert(spot.path).second)
        {
            return;
        }
        auto const& present = spot.after == nullptr ? *spot.before : *spot.after;
        auto const is_alone = spot.before == nullptr || spot.after == nullptr;
        if (!is_alone || spot.inside || kind_of(spot.path, present) != EntryKind::Folder)
        {
            m_places.push_back({.domain = m_domain,
                                .path = spot.path,
                                .inside = spot.inside,
                                .before = copy(spot.before),
                                .after = copy(spot.after)});
            return;
        }
        auto const folder = [](Value const* value)
        { return value == nullptr ? std::nullopt : std::optional(Value(ValueType::Map)); };
        m_places.push_back({.domain = m_domain,
                            .path = spot.path,
                            .inside = false,
                            .before = folder(spot.before),
                            .after = folder(spot.after)});
        for (auto entry = present.begin(); entry != present.end(); ++entry)
        {
            add(spot.below(entry.name()));
        }
    }

    std::string m_domain;
    TreePair m_trees;
    std::vector<PlaceChange>& m_places;
    std::set<std::string> m_found;
};

/// The lines of a text one after the other.
class Lines
{
public:
    explicit Lines(std::string_view text) : m_rest(text) {}

    bool is_at_end() const noexcept { return m_rest.empty(); }
    std::string_view next()
    {
        auto const end = std::min(m_rest.find('\n'), m_rest.size());
        auto const line = m_rest.substr(0, end);
        m_rest.remove_prefix(std::min(end + 1, m_rest.size()));
        return line;
    }

private:
    std::string_view m_rest;
};

void write_line(std::optional<Value> const& value, std::string& text)
{
    if (value)
    {
        text += Json::write(*value);
    }
    text += '\n';
}

std::optional<Value> read_line(std::string_view line)
{
    return line.empty() ? std::nullopt : std::optional(Json::parse(line));
}

} // namespace

bool PlaceChange::is_folder() const
{
    return !inside && before.has_value() != after.has_value() &&
           kind_of(path, before ? *before : *after) == EntryKind::Folder;
}

std::vector<PlaceChange> place_changes(std::vector<Touched> const& touched,
                                       std::function<TreePair(std::string const& domain)> const& trees_of)
{
    std::vector<PlaceChange> places;
    std::map<std::string, Collector> collectors;
    for (auto const& place : touched)
    {
        auto found = collectors.find(place.domain);
        if (found == collectors.end())
        {
            found = collectors.emplace(place.domain, Collector(place.domain, trees_of(place.domain), places)).first;
        }
        found->second.compare(place.path);
    }
    return places;
}

std::string places_text(std::vector<PlaceChange> const& places)
{
    std::string text;
    for (auto const& place : places)
    {
        text += '[' + Json::write(Value(std::string_view(place.domain))) + ',' +
                Json::write(Value(std::string_view(place.path))) + (place.inside ? ",true]\n" : ",false]\n");
        write_line(place.before, text);
        write_line(place.after, text);
    }
    return text;
}

std::vector<PlaceChange> read_places(std::string_view text)
{
    std::vector<PlaceChange> places;
    try
    {
        for (Lines lines(text); !lines.is_at_end();)
        {
            auto const name = Json::parse(lines.next());
            PlaceChange place{
                .domain = name[0].get_string(), .path = name[1].get_string(), .inside = name[2].get_bool()};
            place.before = read_line(lines.next());
            place.after = read_line(lines.next());
            places.push_back(std::move(place));
        }
    }
    catch (Json::ParseError const& error)
    {
        throw StoreError(std::string("the places of a record can't be read: ") + error.what());
    }
    return places;
}

bool has_place_at(std::string_view text, std::string const& path)
{
    auto name = ',' + Json::write(Value(std::string_view(path)));
    name.pop_back(); // it may go on
    for (Lines lines(text); !lines.is_at_end();)
    {
        auto const line = lines.next();
        auto const found = line.find(name);
        auto const behind = found == std::string_view::npos ? std::string_view() : line.substr(found + name.size());
        if (behind.starts_with('"') || behind.starts_with(RavikSrv::separator_text) || behind.starts_with('['))
        {
            return true;
        }
        lines.next();
        lines.next();
    }
    return false;
}

} // namespace Ravik
