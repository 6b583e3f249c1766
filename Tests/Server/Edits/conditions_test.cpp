#include "EditedProject.h"

#include "Configuration/entry_tag.h"
#include "Json/Json.h"

#include <gtest/gtest.h>

#include <functional>

namespace Ravik::Test
{
namespace
{

using Edit = std::function<EditReport(Project&, Condition const&)>;

Condition tagged(std::string tag)
{
    return {.kind = Condition::Kind::Tag, .tags = {"another", std::move(tag)}};
}

constexpr Condition::Kind absent = Condition::Kind::Absent;

TEST(Conditions, refuse_edits_of_what_is_not_as_it_was_seen)
{
    std::string const domain(recipe_domain);
    auto const set = [&](char const* path, char const* value)
    {
        return [&domain, path, value](Project& project, Condition const& condition)
        { return project.set(domain, path, Json::parse(value), {.condition = condition}); };
    };
    auto const remove = [&](char const* path)
    {
        return [&domain, path](Project& project, Condition const& condition)
        { return project.remove(domain, path, {.condition = condition}); };
    };
    auto const rename = [&](Project& project, Condition const& condition)
    { return project.rename(domain, "recipeList::R", "recipeList::Q", {.condition = condition}); };
    auto const copy = [&](Project& project, Condition const& condition)
    { return project.copy(domain, "recipeList::R", "recipeList::Q", {.condition = condition}); };
    auto const import = [&](Project& project, Condition const& condition)
    {
        auto const revision = project.revisions().configuration - (condition.tags.size() > 1 ? 0 : 1);
        return project.import(domain, configuration_of("| R:T { k=8 }"), {.revision = revision});
    };
    auto const import_table = [&](Project& project, Condition const& condition)
    {
        auto const revision = project.revisions().configuration - (condition.tags.size() > 1 ? 0 : 1);
        return project.import_table(domain, "T", "recipe;k\nR;8\n", {.revision = revision});
    };
    struct Case
    {
        char const* name;
        /// What the condition is about, empty for the revision.
        std::string path;
        Edit edit;
    };
    std::vector<Case> const cases = {
        {"set", "recipeList::R", set("recipeList::R", R"({"recipeTypeName":"T","values":{"k":2}})")},
        {"set inside", "recipeList::R::values::k", set("recipeList::R::values::k", "2")},
        {"remove", "recipeList::R", remove("recipeList::R")},
        {"remove a folder", "recipeList::F", remove("recipeList::F")},
        {"rename", "recipeList::R", rename},
        {"copy", "recipeList::R", copy},
        {"import", "", import},
        {"import of a table", "", import_table},
    };
    for (auto const& each : cases)
    {
        SCOPED_TRACE(each.name);
        EditedProject const edited("T { k } | R:T { k=1 } F::S:T { k=2 }");
        auto& project = *edited.project;
        auto const state = edited.state();
        auto const revision = project.revisions().configuration;
        auto const tag = entry_tag(edited.get(each.path));
        auto const stale = each.edit(project, {.kind = Condition::Kind::Tag, .tags = {"another"}});
        EXPECT_EQ(name(stale.error), "STORAGE_CONSTRAINT");
        EXPECT_TRUE(stale.condition_failed);
        EXPECT_EQ(stale.value, each.path.empty() ? Value(revision) : edited.get(each.path));
        EXPECT_EQ(edited.state(), state);
        EXPECT_EQ(project.revisions().configuration, revision);
        if (!each.path.empty())
        {
            auto const present = each.edit(project, {.kind = absent});
            EXPECT_TRUE(present.condition_failed && present.error == ErrorValue::UNIQUE) << name(present.error);
        }
        auto const made = each.edit(project, tagged(tag));
        EXPECT_TRUE(made.succeeded()) << made.text;
        EXPECT_FALSE(made.condition_failed);
        EXPECT_NE(edited.state(), state);
        EXPECT_GT(project.revisions().configuration, revision);
    }
}

TEST(Conditions, tell_of_nothing_and_of_everything_in_a_folder)
{
    EditedProject const edited("T { k } | F::S:T { k=2 }");
    auto& project = *edited.project;
    auto const& domain = edited.domain;
    auto const folder = entry_tag(edited.get("recipeList::F"));
    auto const gone = project.remove(domain, "recipeList::Q", {.condition = tagged(folder)});
    EXPECT_TRUE(gone.condition_failed && !gone.value.isset() && gone.error == ErrorValue::ENTRY_NOT_FOUND);
    auto const recipe = edited.get("recipeList::F::S");
    EXPECT_TRUE(project.set(domain, "recipeList::F::N", recipe, {.condition = {.kind = absent}}).succeeded());
    EXPECT_TRUE(project.set(domain, "recipeList::F::N", recipe, {.condition = {.kind = absent}}).condition_failed);
    EXPECT_TRUE(project.remove(domain, "recipeList::F", {.condition = tagged(folder)}).condition_failed);
    for (auto const& [one, other] : {std::pair("3", "3.0"), {R"({"a":1,"b":2})", R"({"b":2,"a":1})"}, {"null", "\"\""}})
    {
        EXPECT_NE(entry_tag(Json::parse(one)), entry_tag(Json::parse(other))) << one;
    }
}

} // namespace
} // namespace Ravik::Test
