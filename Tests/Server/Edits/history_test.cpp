#include "EditedProject.h"

#include "api_helper.h"
#include "Json/Json.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Ravik::Test
{
namespace
{

constexpr char const* initial = "A { m } B(A) { n } D { k>A } F::E(A) { o } | "
                                "R1:A { m=1 } G::R2:B { m=2 n=2 } G::H::R3:D { k=R1 } G::R4:F::E { m=4 o=4 }";

std::vector<HistoryRecord> records(Project const& project, HistoryFilter const& filter = {})
{
    return project.history(filter).records;
}

std::int64_t newest(Project const& project)
{
    return records(project, {.limit = 1}).at(0).id;
}

EditReport import(EditedProject const& edited, std::string const& text, bool replace)
{
    ImportOptions options;
    options.replace = replace;
    return edited.project->import(edited.domain, configuration_of(text), options);
}

TEST(History, takes_back_every_kind_of_edit_and_that_too)
{
    EditedProject edited(initial);
    auto const make = [&](std::string const& text)
    {
        if (text == "update")
        {
            return edited.project->call(edited.domain, "UpdateRecipe", parameters("path", "R1")).succeeded();
        }
        auto const is_whole = text.starts_with("= ");
        return (is_whole ? import(edited, text.substr(2), true) : edited.edit(text)).succeeded();
    };
    ASSERT_TRUE(make("T::A::members::q = {\"symbol\":\"q\",\"enabled\":true,\"defaultValue\":7}"));
    for (auto const* const text :
         {"R::R1::values::m = 5", "update", "T::A > T::F::C", "T::A >", "T::F >", "T::A::members::m > T::A::members::p",
          "T::D::members::k >", "R::G > R::X::Y", "R::G >", "R::New::Er = {}", "R::R1 > R::G::H::R1",
          R"(R::R1 = {"recipeTypeName":"F::E","values":{"m":3,"o":1}})", "T::B::recipeTypeNames[0] = \"D\"",
          "+ A { m n } N { l } | R1:A { m=7 } Q::R5:N { l=1 }", "= N { l } | R1:N { l=1 }"})
    {
        SCOPED_TRACE(text);
        auto const before = edited.get("");
        ASSERT_TRUE(make(text));
        auto const after = edited.get("");
        ASSERT_FALSE(before == after);
        auto const id = newest(*edited.project);
        edited.reopen();
        RevertOptions options;
        options.dry_run = true;
        EXPECT_FALSE(edited.project->revert(id, options).cascade.empty());
        EXPECT_EQ(edited.get(""), after);
        for (auto const& [reverted, expected] : {std::pair(id, before), {id + 1, after}, {id + 2, before}})
        {
            auto const report = edited.project->revert(reverted, {});
            EXPECT_TRUE(report.succeeded()) << report.path << ": " << report.text;
            EXPECT_EQ(Json::write(edited.get("")).size(), Json::write(expected).size());
            EXPECT_EQ(edited.get(""), expected);
            EXPECT_EQ(newest(*edited.project), reverted + 1);
        }
        EXPECT_EQ(edited.project->revert(id, {}).error, ErrorValue::UNCHANGED);
        auto const listed = edited.listed();
        edited.reopen();
        EXPECT_EQ(edited.get(""), before);
        EXPECT_EQ(edited.listed(), listed) << "the extension knows the entries in their order";
    }
}

TEST(History, refuses_to_take_back_what_was_edited_over_and_names_the_places)
{
    struct Case
    {
        std::string edit;
        std::string later;
        /// The paths that are named; none where it is taken back all the same.
        std::vector<std::string> named;
    };
    for (auto const& each : {
             Case{"R::R1::values::m = 5", "R::R1::values::m = 6", {"R::R1::values::m"}},
             Case{"R::R1::values::m = 5", "R::R1 >", {"R::R1::values::m"}},
             Case{"R::G::R2::values::n >", "R::G::R2 >", {"R::G::R2::values::n"}},
             Case{"R::R1::values::m = 5", "R::G::R2::values::m = 6", {}},
             Case{"+ N { l } | R5:N { l=1 }",
                  R"(R::R6 = {"recipeTypeName":"N","values":{}})",
                  {"R::R6::recipeTypeName"}},
             Case{"+ N { l } | Q::R5:N { l=1 }", "R::Q::R5::values::l = 2", {"R::Q::R5"}},
             Case{"+ A { m } | Q::R5:A { m=1 }", R"(R::Q::R6 = {"recipeTypeName":"A","values":{}})", {}},
             Case{"+ A { m } | R1:A { m=7 }", "R::G::R2::values::m = 7", {}},
             Case{"+ A { m } | R1:A { k=1 l=1 m=1 n=1 o=1 p=1 q=1 r=1 s=1 t=1 u=1 v=1 }",
                  "R::R1::values::m = 7",
                  {"R::R1"}},
             Case{"R::G >", R"(R::G::R2 = {"recipeTypeName":"B","values":{}})", {"R::G::R2"}},
             Case{"T::A > T::C", "R::R1::recipeTypeName = \"B\"", {"R::R1::recipeTypeName"}},
         })
    {
        SCOPED_TRACE(each.edit + ", then " + each.later);
        EditedProject const edited(initial);
        ASSERT_TRUE(edited.edit(each.edit).succeeded());
        auto const id = newest(*edited.project);
        ASSERT_TRUE(edited.edit(each.later).succeeded());
        auto const before = edited.get("");
        auto const report = edited.project->revert(id, {});
        EXPECT_EQ(report.succeeded(), each.named.empty()) << report.text;
        std::vector<std::string> named;
        for (auto const& refused : report.refused)
        {
            named.push_back(refused.path);
        }
        std::vector<std::string> expected;
        for (auto const& path : each.named)
        {
            expected.push_back(full_path(path));
        }
        EXPECT_EQ(named, expected);
        EXPECT_EQ(edited.get("") == before, !each.named.empty());
    }
}

TEST(History, tells_who_asked_for_what)
{
    EditedProject const edited(initial);
    MoveOptions options;
    options.origin = {.who = "anna", .asked = "mv it", .note = "tidy"};
    ASSERT_TRUE(edited.edit("R::R1 > R::Q", options).succeeded());
    ASSERT_TRUE(edited.edit("R::G::R2::values::m = 9").succeeded());
    EXPECT_FALSE(edited.edit("R::Gone >").succeeded());
    EXPECT_TRUE(edited.edit("R::G::R2::values::m = 9").succeeded());
    auto const all = records(*edited.project);
    ASSERT_EQ(all.size(), 3U) << "what changes nothing is none";
    EXPECT_EQ(all[0].asked, "set recipeList::G::R2::values::m 9");
    EXPECT_EQ(all[1].who + ' ' + all[1].asked + ' ' + all[1].note, "anna mv it tidy");
    EXPECT_FALSE(all[0].who.empty() || all[0].time < all[1].time);
    auto const body = edited.project->history_record(all[0].id).records.at(0).body;
    EXPECT_EQ(body, Json::parse(R"({"places":[{"domain":"RavikRecipeManagement",
        "path":"recipeList::G::R2::values::m","inside":true,"before":2,"after":9}]})"));
    struct Case
    {
        HistoryFilter filter;
        std::size_t found;
    };
    // Edits may be made within a millisecond.
    std::size_t const newest = all[1].time != all[0].time ? 1 : all[2].time != all[0].time ? 2 : 3;
    for (auto const& [filter, found] : {Case{{.recipe = "R1"}, 2},
                                        {{.recipe = "Q"}, 1},
                                        {{.recipe = "G::R2"}, 2},
                                        {{.recipe = "G::H::R3"}, 2},
                                        {{.recipe = "G::R"}, 0},
                                        {{.who = "anna"}, 1},
                                        {{.who = "ann"}, 0},
                                        {{.since = all[0].time}, newest},
                                        {{.since = "2000"}, 3},
                                        {{.before = all[0].id}, 2},
                                        {{.actions = {"edit", "import"}}, 3},
                                        {{.actions = {"activation"}}, 0},
                                        {{.since = "3000"}, 0},
                                        {{.limit = 2}, 2}})
    {
        EXPECT_EQ(records(*edited.project, filter).size(), found) << filter.recipe << filter.who << filter.since;
    }
    EXPECT_EQ(edited.project->history_record(99).error, ErrorValue::ENTRY_NOT_FOUND);
    EXPECT_EQ(edited.project->revert(99, {}).error, ErrorValue::ENTRY_NOT_FOUND);
}

} // namespace
} // namespace Ravik::Test
