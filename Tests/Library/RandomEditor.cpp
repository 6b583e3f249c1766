#include "RandomEditor.h"

#include "Support/RecipeNotation.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace Ravik::Test
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

// There are more names than entries, so that some of them are free.
constexpr std::size_t first_folders = 10;
constexpr std::size_t folders = 12;
constexpr std::size_t recipes_of_folder = 50;

/// The types that there are at first: some for others to name, and some whose recipes name a recipe each. They stay
/// apart, and no type of the first ones is deleted: a value whose member went would name a recipe that may go, too.
struct FirstType
{
    char const* text;
    bool has_next;
};
constexpr auto first_types = std::to_array<FirstType>({
    {.text = "T0 { a:k b:l }", .has_next = false},
    {.text = "T1(T0) { c:m }", .has_next = false},
    {.text = "T2 { a:k next>T0 }", .has_next = true},
    {.text = "T3 { d:n next>T1 }", .has_next = true},
    {.text = "T4 { a:l next>T1 }", .has_next = true},
    {.text = "T5 { e:o f:p next>T0 }", .has_next = true},
});
constexpr auto named_types = std::to_array<char const*>({"T0", "T1", "T6"});
constexpr auto naming_types = std::to_array<char const*>({"T2", "T3", "T4", "T5", "T7"});
constexpr auto members = std::to_array<char const*>({"a", "b", "c", "d", "e", "f"});

std::string numbered(char const* name, std::size_t number)
{
    return name + std::to_string(number);
}

std::string in_list(char const* list, std::string const& name)
{
    return std::string(list) + "::" + name;
}

/// A recipe that comes with the one before it. Names are given in no other way, since one that is named in an edit of
/// its own may be gone by then.
std::string recipe_text(std::string const& folder, std::size_t number, std::size_t type, std::size_t value)
{
    return " " + folder + numbered("::R", number) + numbered(":T", type) + numbered(" { a=", value) +
           (first_types.at(type).has_next ? " next=" + folder + numbered("::R", number - 1) : "") + " }";
}

MoveOptions move_options(SetOptions const& options)
{
    return {.dry_run = false, .origin = options.origin, .condition = {}};
}

} // namespace

Value RandomEditor::first_configuration()
{
    std::string text;
    for (auto const& type : first_types)
    {
        text.append(type.text).append(" ");
    }
    text += "|";
    for (std::size_t number = 0; number < first_folders * recipes_of_folder; ++number)
    {
        auto const in_folder = number % recipes_of_folder;
        auto const type = in_folder == 0 ? 0 : number % first_types.size();
        text += recipe_text(numbered("F", number / recipes_of_folder), in_folder, type, number);
    }
    return configuration_of(text);
}

Attempt RandomEditor::edit(Project& project)
{
    auto const total = std::accumulate(kinds().begin(), kinds().end(), std::size_t(0),
                                       [](std::size_t sum, Kind const& kind) { return sum + kind.weight; });
    ++m_count;
    m_asked = "edit " + std::to_string(m_count) + " of " + m_name;
    auto left = below(total);
    auto kind = kinds().begin();
    for (; left >= kind->weight; ++kind)
    {
        left -= kind->weight;
    }
    auto const begun = std::chrono::steady_clock::now();
    auto const report = (this->*kind->make)(project);
    auto const is_unknown = !report.unknown_edit.empty() ||
                            (report.error == ErrorValue::NETWORK && report.text.find("not known") != std::string::npos);
    return {.asked = m_asked,
            .result = report.succeeded() || report.made ? Attempt::Result::Made
                      : is_unknown                      ? Attempt::Result::Unknown
                                                        : Attempt::Result::Refused,
            .edit = report.unknown_edit,
            .text = report.text,
            .lost_server = report.error == ErrorValue::NETWORK,
            .took = std::chrono::steady_clock::now() - begun};
}

std::vector<RandomEditor::Kind> const& RandomEditor::kinds()
{
    static std::vector<Kind> const all{
        {.weight = 40, .make = &RandomEditor::set_value},    {.weight = 6, .make = &RandomEditor::set_recipe},
        {.weight = 12, .make = &RandomEditor::copy_recipe},  {.weight = 12, .make = &RandomEditor::rename_recipe},
        {.weight = 6, .make = &RandomEditor::delete_recipe}, {.weight = 10, .make = &RandomEditor::import_some},
        {.weight = 1, .make = &RandomEditor::make_folder},   {.weight = 4, .make = &RandomEditor::rename_folder},
        {.weight = 1, .make = &RandomEditor::delete_folder}, {.weight = 4, .make = &RandomEditor::rename_type},
        {.weight = 3, .make = &RandomEditor::rename_member}, {.weight = 1, .make = &RandomEditor::delete_type},
    };
    return all;
}

// Choices -------------------------------------------------------------------------------------------------------------

std::string RandomEditor::folder()
{
    return numbered("F", below(folders));
}

std::string RandomEditor::recipe()
{
    return folder() + numbered("::R", below(recipes_of_folder));
}

std::string RandomEditor::type(bool has_next)
{
    auto const of = [this](auto const& names) { return names.at(below(names.size())); };
    return has_next ? of(naming_types) : of(named_types);
}

SetOptions RandomEditor::origin() const
{
    return {.origin = {.who = {}, .asked = m_asked, .note = {}, .address = {}}, .condition = {}};
}

// Edits ---------------------------------------------------------------------------------------------------------------

EditReport RandomEditor::set_value(Project& project)
{
    auto const path = in_list("recipeList", recipe()) + "::values::" + members.at(below(members.size()));
    return project.set(std::string(recipe_domain), path, Value(static_cast<int>(number())), origin());
}

EditReport RandomEditor::set_recipe(Project& project)
{
    Value recipe(ValueType::Map);
    recipe["recipeTypeName"] = type(happens()).c_str();
    recipe["values"]["a"] = static_cast<int>(number());
    return project.set(std::string(recipe_domain), in_list("recipeList", this->recipe()), recipe, origin());
}

EditReport RandomEditor::copy_recipe(Project& project)
{
    auto const path = in_list("recipeList", recipe());
    return project.copy(std::string(recipe_domain), path, in_list("recipeList", recipe()), origin());
}

EditReport RandomEditor::rename_recipe(Project& project)
{
    auto const path = in_list("recipeList", recipe());
    return rename(project, path, in_list("recipeList", recipe()));
}

EditReport RandomEditor::delete_recipe(Project& project)
{
    return remove(project, in_list("recipeList", recipe()));
}

/// What deletes took away comes again by this.
EditReport RandomEditor::import_some(Project& project)
{
    constexpr std::size_t recipes = 20;
    std::string text;
    auto const type = below(first_types.size());
    for (std::size_t each = 0; each < first_types.size(); ++each)
    {
        text += each < named_types.size() - 1 || each == type ? first_types.at(each).text + std::string(" ") : "";
    }
    text += "|";
    auto const folder = this->folder();
    auto const first = below(recipes_of_folder - recipes);
    for (std::size_t count = 0; count < recipes; ++count)
    {
        text += recipe_text(folder, first + count, count == 0 ? 0 : type, number());
    }
    ImportOptions options;
    options.origin = origin().origin;
    return project.import(std::string(recipe_domain), configuration_of(text), options);
}

EditReport RandomEditor::make_folder(Project& project)
{
    auto const path = in_list("recipeList", "Empty " + m_name + " " + std::to_string(number()));
    return project.set(std::string(recipe_domain), path, Value(ValueType::Map), origin());
}

EditReport RandomEditor::rename_folder(Project& project)
{
    auto const path = in_list("recipeList", folder());
    return rename(project, path, in_list("recipeList", folder()));
}

EditReport RandomEditor::delete_folder(Project& project)
{
    return remove(project, in_list("recipeList", folder()));
}

EditReport RandomEditor::rename_type(Project& project)
{
    auto const has_next = happens();
    auto const path = in_list("recipeTypeList", type(has_next));
    return rename(project, path, in_list("recipeTypeList", type(has_next)));
}

EditReport RandomEditor::rename_member(Project& project)
{
    auto const path = in_list("recipeTypeList", type(happens())) + "::members::";
    auto const member = path + members.at(below(members.size()));
    return rename(project, member, path + members.at(below(members.size())));
}

EditReport RandomEditor::delete_type(Project& project)
{
    return remove(project, in_list("recipeTypeList", type(true)));
}

EditReport RandomEditor::rename(Project& project, std::string const& path, std::string const& new_path)
{
    return project.rename(std::string(recipe_domain), path, new_path, move_options(origin()));
}

EditReport RandomEditor::remove(Project& project, std::string const& path)
{
    return project.remove(std::string(recipe_domain), path, move_options(origin()));
}

} // namespace Ravik::Test
