#include "Api/Parts.h"
#include "Api/edits.h"
#include "Api/merge_patch.h"
#include "Api/resources.h"
#include "Api/values.h"

#include "Configuration/Entry.h"
#include "Configuration/entry_tag.h"
#include "Configuration/tree.h"
#include "Editing/Refusal.h"
#include "Json/Json.h"

#include "api_helper.h"

#include <boost/algorithm/string/replace.hpp>
#include <utility>

namespace Ravik::Service
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

/// A kind of entry as the API names it.
struct Kind
{
    EntryKind kind;
    char const* list;
    char const* noun;
};

constexpr Kind recipe{EntryKind::Recipe, Key::recipe_list, "recipe"};
constexpr Kind type{EntryKind::RecipeType, Key::recipe_type_list, "recipe type"};
constexpr Kind recipe_folder{EntryKind::Folder, Key::recipe_list, "folder"};
constexpr Kind type_folder{EntryKind::Folder, Key::recipe_type_list, "folder"};

/// The list that a folder is in: that of the recipes, unless ?list=types.
Kind const& folder_kind(Call const& call)
{
    auto const list = call.parameter("list");
    if (!list.empty() && list != "recipes" && list != "types")
    {
        throw Problem{.status = 400,
                      .code = "INVALID_PARAMETER",
                      .detail = "the parameter 'list' is recipes (the default) or types, not '" + list + "'"};
    }
    return list == "types" ? type_folder : recipe_folder;
}

std::string path_of(Call const& call, Kind const& kind)
{
    return Tree::join(kind.list, call.required("name"));
}

std::string const& domain()
{
    static std::string const name(recipe_domain);
    return name;
}

/// What stands at the path, which has to be of the kind.
Value present(Call const& call, Kind const& kind, std::string const& path)
{
    auto const outcome = call.parts.project.get(domain(), path);
    if (!outcome.succeeded())
    {
        throw Problem{.status = 404,
                      .code = "ENTRY_NOT_FOUND",
                      .detail = "there is no " + std::string(kind.noun) + " '" + call.required("name") + "'"};
    }
    if (kind_of(path, outcome.value) != kind.kind)
    {
        throw Problem{
            .status = 404, .code = "ENTRY_NOT_FOUND", .detail = "'" + call.required("name") + "' is no " + kind.noun};
    }
    return outcome.value;
}

Response get_entry(Call& call, Kind const& kind)
{
    auto const path = path_of(call, kind);
    auto const entry = present(call, kind, path);
    auto const text = call.parts.texts.of(path, entry);
    auto const known = call.field("if-none-match");
    Fields fields{{"ETag", text.tag}};
    if (known == "*" || known.find(text.tag) != std::string::npos)
    {
        return {.status = 304, .content_type = {}, .fields = std::move(fields), .body = {}};
    }
    return {.status = 200, .content_type = "application/json", .fields = std::move(fields), .body = text.text};
}

/// What is to stand there has to be an entry of the kind.
void check_entry(Kind const& kind, std::string const& path, Value const& entry)
{
    if (kind_of(path, entry) != kind.kind)
    {
        throw Problem{.status = 422,
                      .code = "TYPE_MISMATCH",
                      .detail = kind.kind == EntryKind::Recipe
                                    ? R"(this is no recipe: it has neither "recipeTypeName" nor "values")"
                                    : R"(this is no recipe type: it has no "members")"};
    }
}

/// A pointer's component.
std::string escaped(std::string text)
{
    boost::replace_all(text, "~", "~0");
    boost::replace_all(text, "/", "~1");
    return text;
}

/// The field of the entry that a refusal is about, as far as its text names one: by a path inside the entry before a
/// colon, or as "[Member]" behind what is wrong with a value.
std::string pointer_of(EditReport const& report, Value const& entry)
{
    auto const& text = report.text;
    if (text.starts_with(report.path + "::"))
    {
        auto const inside = text.substr(report.path.size(), text.find(": ") - report.path.size());
        return boost::replace_all_copy(escaped(inside), "::", "/");
    }
    auto const bracket = text.rfind(" [");
    if (bracket == std::string::npos || !text.ends_with(']'))
    {
        return {};
    }
    auto const member = text.substr(bracket + 2, text.size() - bracket - 3);
    return entry[Key::values][member.c_str()].isset() ? '/' + std::string(Key::values) + '/' + escaped(member) : "";
}

/// For who wants to replace what is gone: no tag of his is that of nothing.
Problem nothing_to_replace(Call const& call)
{
    Value members(ValueType::Map);
    members.insert("current", Value());
    return {.status = 412,
            .code = RavikSrv::get_error_string(ErrorValue::STORAGE_CONSTRAINT).name(),
            .detail = "'" + call.required("name") + "' is not there any more; If-None-Match: * writes a new one",
            .errors = {},
            .current = {},
            .fields = {},
            .members = members};
}

bool stands(Call const& call, std::string const& path)
{
    return call.parts.project.get(domain(), path).succeeded();
}

Response set_entry(Call& call, std::string const& path, Value const& entry, Condition const& condition)
{
    auto const report =
        call.parts.project.set(domain(), path, entry, {.origin = origin_of(call), .condition = condition});
    if (!report.succeeded() && !report.made)
    {
        auto const is_gone = report.condition_failed && report.error == ErrorValue::ENTRY_NOT_FOUND;
        auto problem =
            is_gone && call.head.method == "PUT" ? nothing_to_replace(call) : problem_of(call.parts.project, report);
        if (auto const pointer = pointer_of(report, entry); !pointer.empty())
        {
            problem.errors.push_back({.pointer = pointer, .detail = report.text});
        }
        throw Problem(std::move(problem));
    }
    auto const is_new = condition.kind == Condition::Kind::Absent;
    // Of what was written, not of what stands there: by now that may be somebody else's, which this one has not seen.
    return edit_answer(call.parts.project, report, is_new ? 201 : 200, {{"ETag", '"' + entry_tag(entry) + '"'}});
}

Response put_entry(Call& call, Kind const& kind)
{
    auto const path = path_of(call, kind);
    auto const condition = required_condition(call);
    auto const entry = call.object();
    check_entry(kind, path, entry);
    if (condition.kind == Condition::Kind::Tag)
    {
        if (!stands(call, path))
        {
            throw nothing_to_replace(call);
        }
        static_cast<void>(present(call, kind, path));
    }
    return set_entry(call, path, entry, condition);
}

bool has_tag(Condition const& condition, std::string const& tag)
{
    return std::find(condition.tags.begin(), condition.tags.end(), tag) != condition.tags.end();
}

Response patch_entry(Call& call, Kind const& kind)
{
    auto const path = path_of(call, kind);
    auto const condition = required_condition(call);
    auto const patch = call.object();
    auto const entry = present(call, kind, path);
    auto const tag = entry_tag(entry);
    if (condition.kind != Condition::Kind::Tag || !has_tag(condition, tag))
    {
        throw Problem{.status = 412,
                      .code = RavikSrv::get_error_string(ErrorValue::STORAGE_CONSTRAINT).name(),
                      .detail = "'" + call.required("name") + "' has changed since it was read",
                      .errors = {},
                      .current = entry,
                      .fields = {{"ETag", '"' + tag + '"'}}};
    }
    auto const patched = merged(entry, patch);
    check_entry(kind, path, patched);
    // The patch was made for this very state: nobody may come in between.
    return set_entry(call, path, patched, {.kind = Condition::Kind::Tag, .tags = {tag}});
}

/// A folder of a word that entries are told by would make its own folder an entry.
void check_folder_path(std::string const& path)
{
    for (auto place = Tree::split_last(path); !place.parent.empty(); place = Tree::split_last(place.parent))
    {
        if (makes_entry(place.parent, place.name))
        {
            auto const refusal = explained(ErrorValue::BLACKLISTED, path);
            throw problem_of(refusal.error, refusal.text, refusal.path);
        }
    }
}

Response delete_entry(Call& call, Kind const& kind)
{
    auto const path = path_of(call, kind);
    auto const condition = required_condition(call);
    static_cast<void>(present(call, kind, path));
    return edit_answer(call.parts.project,
                       call.parts.project.remove(domain(), path, {.origin = origin_of(call), .condition = condition}));
}

} // namespace

Response get_recipe(Call& call)
{
    return get_entry(call, recipe);
}

Response put_recipe(Call& call)
{
    return put_entry(call, recipe);
}

Response patch_recipe(Call& call)
{
    return patch_entry(call, recipe);
}

Response delete_recipe(Call& call)
{
    return delete_entry(call, recipe);
}

Response get_type(Call& call)
{
    return get_entry(call, type);
}

Response put_type(Call& call)
{
    return put_entry(call, type);
}

Response patch_type(Call& call)
{
    return patch_entry(call, type);
}

Response delete_type(Call& call)
{
    return delete_entry(call, type);
}

Response get_folder(Call& call)
{
    return get_entry(call, folder_kind(call));
}

Response post_folder(Call& call)
{
    auto const& kind = folder_kind(call);
    auto const path = path_of(call, kind);
    check_folder_path(path);
    auto const report =
        call.parts.project.set(domain(), path, Value(ValueType::Map),
                               {.origin = origin_of(call), .condition = {.kind = Condition::Kind::Absent, .tags = {}}});
    auto problem = problem_of(call.parts.project, report);
    if (report.condition_failed)
    {
        problem.status = 409;
        problem.current = Value();
        problem.fields.clear();
        problem.detail = "'" + call.required("name") + "' is there already";
        throw Problem(std::move(problem));
    }
    return edit_answer(call.parts.project, report, 201, {{"ETag", '"' + entry_tag(Value(ValueType::Map)) + '"'}});
}

Response delete_folder(Call& call)
{
    return delete_entry(call, folder_kind(call));
}

Response post_move(Call& call)
{
    auto const body = call.object({"from", "to", "dryRun"});
    auto const text = [&body](char const* name)
    {
        std::string value(body[name].get_text());
        if (value.empty())
        {
            throw Problem{.status = 422,
                          .code = "REQUIRED_FIELD",
                          .detail =
                              std::string(R"(")") + name + R"(" has to be a full path, such as recipeList::Bread)",
                          .errors = {{std::string("/") + name, "a path is missing"}}};
        }
        return value;
    };
    auto const from = text("from");
    auto const to = text("to");
    auto const dry_run = flag_in(body, "dryRun");
    MoveOptions options{.dry_run = dry_run, .origin = origin_of(call), .condition = {}};
    if (!dry_run)
    {
        options.condition = required_condition(call);
    }
    return edit_answer(call.parts.project, call.parts.project.rename(domain(), from, to, options));
}

} // namespace Ravik::Service
