#include "library_truth.h"

#include "Configuration/Entry.h"
#include "Configuration/place_changes.h"
#include "Configuration/random_id.h"
#include "KilledProcess.h"
#include "algorithm_helper.h"
#include "api_helper.h"
#include "Json/Json.h"

#include <algorithm>
#include <map>
#include <set>

namespace Ravik::Test
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

std::unique_ptr<Library> connect(LibrarySettings const& settings)
{
    return Library::connect(settings, {.server = {.name = "test", .store = random_id()}, .process = random_id()},
                            Library::Kind::Turns);
}

Value* walk(Value& tree, std::string const& path)
{
    auto* node = &tree;
    for (auto const& name : RavikSrv::Algorithm::split_symbol_name(path.c_str()))
    {
        node = &(*node)[name.c_str()];
    }
    return node;
}

/// What stands at a place, and what stands next to it there.
std::string excerpt(std::string const& text, std::size_t position)
{
    constexpr std::size_t before = 100;
    constexpr std::size_t length = 300;
    return text.substr(position - std::min(position, before), length);
}

} // namespace

// Contents ------------------------------------------------------------------------------------------------------------

LibraryHead head_of(LibrarySettings const& settings)
{
    return connect(settings)->head();
}

LibraryContent content_of(LibrarySettings const& settings, LibraryPosition const& since)
{
    auto const library = connect(settings);
    auto all = library->everything();
    auto news = library->news(since);
    expect(all.head == news.head && news.is_known, "the library is edited, or does not know what it was");
    LibraryContent content{.head = all.head, .tree = Value(ValueType::Map), .records = std::move(news.records)};
    std::stable_sort(all.rows.begin(), all.rows.end(),
                     [](LibraryRow const& left, LibraryRow const& right) { return left.rank < right.rank; });
    for (auto const& row : all.rows)
    {
        auto* const node = walk(content.tree, row.path);
        *node = row.text ? Json::parse(*row.text) : Value(ValueType::Map);
    }
    return content;
}

Value tree_of(Project const& project)
{
    auto const outcome = project.get(std::string(recipe_domain), "");
    expect(outcome.succeeded(), "the configuration can't be read: " + outcome.text);
    return outcome.value;
}

void expect_same(std::string const& name, Value const& tree, std::string const& other_name, Value const& other)
{
    auto const text = Json::write(tree);
    auto const other_text = Json::write(other);
    auto const [mine, theirs] = std::mismatch(text.begin(), text.end(), other_text.begin(), other_text.end());
    auto const position = static_cast<std::size_t>(mine - text.begin());
    expect(text == other_text, name + " has …" + excerpt(text, position) + "… where " + other_name + " has …" +
                                   excerpt(other_text, position) + "…");
}

std::string listed_recipes(Project& project)
{
    std::string listed;
    for (auto const& type : entry_paths("recipeTypeList", tree_of(project)))
    {
        listed += type + ":";
        for (auto const& name : project.recipes_of(relative_name(type)).names)
        {
            listed += " " + name;
        }
        listed += "\n";
    }
    return listed;
}

// References ----------------------------------------------------------------------------------------------------------

namespace
{

/// Whether the recipes of the type have "next", which names another recipe.
bool names_next(std::string_view type, Value const& tree)
{
    auto const* const node = RavikSrv::node_path("recipeTypeList::" + std::string(type), tree).node;
    if (node == nullptr || (*node)["members"]["next"].isset())
    {
        return node != nullptr;
    }
    Value const& parents = (*node)["recipeTypeNames"];
    return std::any_of(parents.begin_vector(), parents.end_vector(),
                       [&](Value const& parent) { return names_next(parent.get_text(), tree); });
}

} // namespace

std::string broken_reference(Value const& tree)
{
    std::string broken;
    auto const look = [&](std::string const& path, std::string const& list, Value const& name)
    {
        auto const target = list + "::" + std::string(name.get_text());
        auto const is_there = name.get_text().empty() || RavikSrv::node_path(target, tree).node != nullptr;
        broken += is_there ? "" : path + " names " + target + "; ";
    };
    auto const visit = [&](std::string const& path, Value const& entry, EntryKind kind)
    {
        if (kind == EntryKind::Recipe)
        {
            look(path, "recipeTypeList", entry["recipeTypeName"]);
            if (names_next(entry["recipeTypeName"].get_text(), tree))
            {
                look(path, "recipeList", entry["values"]["next"]);
            }
            return true;
        }
        Value const& parents = entry["recipeTypeNames"];
        std::for_each(parents.begin_vector(), parents.end_vector(),
                      [&](Value const& parent) { look(path, "recipeTypeList", parent); });
        look(path, "recipeTypeList", entry["members"]["next"]["recipeType"]);
        return true;
    };
    for_each_entry("", tree, visit);
    return broken;
}

void expect_references(std::string const& name, Project const& project)
{
    for (auto const& finding : project.check(std::string(recipe_domain)))
    {
        expect(finding.kind != Finding::Kind::Reference, name + ": " + finding.path + ": " + finding.text);
    }
}

// The history ---------------------------------------------------------------------------------------------------------

void expect_once(std::vector<LibraryRecord> const& records, std::vector<Attempt> const& attempts)
{
    std::map<std::string, StoredRecord const*> told;
    LibraryRecord const* last = nullptr;
    for (auto const& each : records)
    {
        auto const name = each.record.asked + " (revision " + std::to_string(each.revision) + ")";
        expect(told.emplace(each.record.asked, &each.record).second, name + " is in the history twice");
        expect(last == nullptr || (each.revision > last->revision && each.record.time >= last->record.time),
               name + " stands behind revision " + std::to_string(last == nullptr ? 0 : last->revision) + " of " +
                   (last == nullptr ? "" : last->record.time) + " and is of " + each.record.time);
        last = &each;
    }
    for (auto const& attempt : attempts)
    {
        auto const found = told.find(attempt.asked);
        auto const is_there = found != told.end();
        expect(is_there || attempt.result != Attempt::Result::Made, attempt.asked + " was acknowledged, and is lost");
        expect(!is_there || attempt.result != Attempt::Result::Refused,
               attempt.asked + " was refused (" + attempt.text + "), and is in the library");
        expect(!is_there || attempt.edit.empty() || attempt.edit == found->second->edit,
               attempt.asked + " bears another id than was told");
        told.erase(attempt.asked);
    }
    expect(told.empty(), told.empty() ? "" : told.begin()->first + " is in the history, and nobody asked for it");
}

namespace
{

bool stands(PlaceChange const& place, Value const& tree)
{
    auto const* const node = RavikSrv::node_path(place.path, tree).node;
    if (node == nullptr || !place.before)
    {
        return (node == nullptr) == !place.before;
    }
    return place.is_folder() ? kind_of(place.path, *node) == EntryKind::Folder : *node == *place.before;
}

void make(std::vector<PlaceChange> const& places, Value& tree)
{
    for (auto const& place : places)
    {
        auto const found = RavikSrv::node_path(place.path, tree);
        if (!place.after && found.parent != nullptr && found.node != nullptr)
        {
            found.parent->erase(found.name.c_str());
        }
    }
    for (auto const& place : places)
    {
        if (place.after)
        {
            *walk(tree, place.path) = *place.after;
        }
    }
}

} // namespace

void expect_told(std::vector<LibraryRecord> const& records, Value const& first, Value const& last)
{
    auto tree = first;
    for (auto const& [revision, record] : records)
    {
        auto const places = read_places(record.places);
        for (auto const& place : places)
        {
            expect(stands(place, tree),
                   record.asked + " (revision " + std::to_string(revision) + ") found at " + place.path +
                       " something else than the edits before it left: " + Json::write(place.before.value_or(Value())));
        }
        make(places, tree);
    }
    expect(tree == last, "the edits of the history come to something else than the library holds: " +
                             Json::write(tree) + " instead of " + Json::write(last));
}

void expect_followed(std::string const& name, Project const& project, std::vector<LibraryRecord> const& records)
{
    constexpr std::size_t at_a_time = 1000;
    std::set<std::string> wanted;
    std::vector<std::string> expected;
    for (auto const& [revision, record] : records)
    {
        wanted.insert(record.edit);
        expected.push_back(record.edit + " " + record.asked + " " + record.server);
    }
    std::vector<std::string> found;
    HistoryFilter filter;
    filter.limit = at_a_time;
    for (auto part = project.history(filter).records; !part.empty(); part = project.history(filter).records)
    {
        for (auto const& record : part)
        {
            if (wanted.contains(record.edit))
            {
                found.push_back(record.edit + " " + record.asked + " " + record.server);
            }
        }
        filter.before = part.back().id;
    }
    std::reverse(found.begin(), found.end());
    auto const [mine, library] = std::mismatch(found.begin(), found.end(), expected.begin(), expected.end());
    expect(found == expected, "the history of " + name + " has " + (mine == found.end() ? "nothing" : *mine) +
                                  " where the library's has " + (library == expected.end() ? "nothing" : *library));
}

} // namespace Ravik::Test
