// What is done with recipes beside activating them, as the project offers it.

#include "EditedProject.h"

#include "Configuration/entry_tag.h"
#include "Json/Json.h"

#include <boost/algorithm/string/replace.hpp>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace Ravik::Test
{
namespace
{

constexpr char const* recipes =
    "T { k l=7 } B { o } U(B) { m n>T } | R:T { k=1 l=2 } S:T { k=1 l=4 } F::M:U { m=9 n=R x=3 }";

/// The symbols of the members hold 5.
class Plant : public EditedProject
{
public:
    explicit Plant(std::string const& replaced = {}, std::string const& by = {})
        : EditedProject(Test::configuration_of(recipes), boost::replace_first_copy(project_file(), replaced, by))
    {
        for (auto const* const symbol : {"k", "l", "m"})
        {
            static_cast<void>(project->write_symbol(symbol, Value(5)));
        }
    }
};

constexpr char const* variable_k = R"("k":null,)";
constexpr char const* configuration = R"("configuration":{)";
constexpr char const* unreachable = R"("configuration":{"unreachable":true,)";

std::string told(ActivationReport const& report)
{
    auto text = name(report.error) + ' ' + report.recipe;
    for (auto const& row : report.rows)
    {
        text += "; " + row.symbol + ' ' + name_of(row.state) + ' ' + Json::shown(row.before) + '>' +
                Json::shown(row.value) + ' ' + row.text;
    }
    return text;
}

std::string told(ValueRows const& rows)
{
    std::string text;
    for (auto const& row : rows)
    {
        text += row.member + ' ' + row.symbol + ' ' + name_of(row.state) + ' ' + Json::shown(row.stored) + '>' +
                Json::shown(row.live) + "; ";
    }
    return text;
}

TEST(Recipes, are_compared_by_what_activations_would_write)
{
    Plant const plant;
    struct Case
    {
        char const* recipe;
        char const* other;
        char const* expected;
    };
    for (auto const& [recipe, other, expected] :
         {Case{"R", "S", "SUCCESS ; k same 1>1 ; l differs 4>2 "},
          {"F::M", "S", "SUCCESS ; m differs ->9 only in F::M; k same 1>1 ; l differs 4>2 "},
          {"S", "F::M", "SUCCESS ; k same 1>1 ; l differs 2>4 ; m differs 9>- only in F::M"}})
    {
        EXPECT_EQ(told(plant.project->compare(recipe, other)), expected);
    }
    EXPECT_EQ(plant.project->compare("R", "Q").recipe, "Q");
    EXPECT_EQ(plant.project->compare("Q", "R").recipe, "Q");
}

TEST(Recipes, are_updated_one_by_one)
{
    Plant const plant;
    ASSERT_TRUE(plant.edit(R"(R::P = {"recipeTypeName":"T","values":{"k":1,"y":2}})").succeeded());
    std::string shown;
    std::string steps;
    auto const report = plant.project->update({"P", "Q", "R", "P"},
                                              {.origin = {.who = "anna", .asked = {}, .note = "n"},
                                               .progress = [&](std::size_t done, std::size_t total)
                                               { steps += std::to_string(done) + '/' + std::to_string(total) + ' '; }});
    for (auto const& row : report.rows)
    {
        shown += row.recipe + ' ' + name_of(row.state) + ' ' + std::to_string(row.info.size()) +
                 (row.succeeded() == row.text.empty() ? "; " : "!; ");
    }
    EXPECT_EQ(shown, "P updated 2; Q failed 0; R same 0; ");
    EXPECT_EQ(steps, "0/3 1/3 2/3 ");
    auto const records = plant.project->history({.who = "anna"}).records;
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].asked + ' ' + records[0].note, "update P n");
    std::atomic<bool> const stop = true;
    EXPECT_TRUE(plant.project->update({"P"}, {.stop = &stop}).stopped);

    EXPECT_EQ(plant.project->recipe_names().names, (std::vector<std::string>{"R", "S", "F::M", "P"}));
    EXPECT_EQ(plant.project->recipes_of("U").names, (std::vector<std::string>{"F::M"}));
    EXPECT_EQ(plant.project->recipes_of("V").error, ErrorValue::ENTRY_NOT_FOUND);
}

TEST(Recipes, are_read_and_saved)
{
    Plant const plant;
    auto& project = *plant.project;
    EXPECT_EQ(told(project.read("F::M").rows), "m m differs 9>5; n  nested recipe \"R\">-; x  no member 3>-; ");
    struct Case
    {
        char const* name;
        char const* recipe;
        SaveOptions options;
        char const* error;
        char const* expected;
    };
    Condition const stale{.kind = Condition::Kind::Tag, .tags = {"another"}};
    Condition const fresh{.kind = Condition::Kind::Tag, .tags = {entry_tag(plant.get("recipeList::R"))}};
    for (auto const& each : std::vector<Case>{
             {"into another that is there", "R", {.target = "S"}, "UNIQUE", ""},
             {"as it is no more", "R", {.condition = stale}, "STORAGE_CONSTRAINT", ""},
             {"as it is", "R", {.condition = fresh}, "SUCCESS", "k k saved 1>5; l l saved 2>5; "},
             {"where all is the same", "R", {}, "SUCCESS", "k k same 5>5; l l same 5>5; "},
             {"into another by force",
              "R",
              {.target = "S", .replace = true},
              "SUCCESS",
              "k k same 5>5; l l same 5>5; "},
             {"into another as it is no more",
              "R",
              {.target = "S", .replace = true, .condition = stale},
              "STORAGE_CONSTRAINT",
              ""},
             {"into a new one", "F::M", {.target = "G::N"}, "SUCCESS", "m m saved 9>5; "},
         })
    {
        SCOPED_TRACE(each.name);
        auto const before = plant.state();
        auto const report = project.save(each.recipe, each.options);
        EXPECT_EQ(name(report.error), each.error) << report.text;
        EXPECT_EQ(told(report.rows), each.expected);
        EXPECT_EQ(report.condition_failed, report.error == ErrorValue::STORAGE_CONSTRAINT);
        EXPECT_EQ(plant.state() != before, report.made);
    }
    EXPECT_EQ(plant.get("recipeList::S"), plant.get("recipeList::R"));
    EXPECT_EQ(dump(plant.get("recipeList::G::N::values")), dump(Json::parse(R"({"m":5,"n":"R","x":3})")));
    EXPECT_FALSE(project.save("Q", {}).succeeded());

    Plant const dead(configuration, unreachable);
    auto const unread = dead.project->save("R", {});
    EXPECT_TRUE(unread.read_failed && !unread.succeeded());
    EXPECT_EQ(told(unread.rows), "k k unread 1>-; l l unread 2>-; ");
    EXPECT_EQ(told(dead.project->read("R").rows), told(unread.rows));
}

/// What somebody else edits between the reading and the storing is not overwritten.
TEST(Recipes, that_are_edited_while_they_are_saved_keep_the_edit)
{
    Plant const plant;
    std::atomic<bool> ends{false};
    std::jthread const saving(
        [&]
        {
            while (!ends)
            {
                auto const report = plant.project->save("R", {});
                EXPECT_TRUE(report.succeeded() || report.condition_failed) << report.text;
            }
        });
    for (int round = 0; round < 300; ++round)
    {
        auto const number = std::to_string(round);
        EXPECT_TRUE(
            plant.edit(R"(R::R = {"recipeTypeName":"T","values":{"k":1,"l":1,"x":)" + number + "}}").succeeded());
        std::this_thread::yield();
        EXPECT_EQ(Json::write(plant.get("recipeList::R::values::x")), number);
    }
    ends = true;
}

TEST(Recipes, are_active_or_tell_why_nobody_knows)
{
    Plant const plant;
    auto& project = *plant.project;
    ASSERT_TRUE(project.activate("S", {}).succeeded());
    EXPECT_EQ(project.active({}, {}).active, (std::vector<std::string>{"S"}));
    EXPECT_EQ(project.active({"R"}, {}).active, std::vector<std::string>());

    Plant const partly(variable_k, "");
    ASSERT_TRUE(partly.edit(R"(T::V = {"members":{"m":{"symbol":"m","enabled":true}}})").succeeded());
    ASSERT_TRUE(partly.edit(R"(R::V = {"recipeTypeName":"V","values":{"m":5}})").succeeded());
    auto const report = partly.project->active({}, {});
    EXPECT_FALSE(report.succeeded());
    EXPECT_EQ(report.active, (std::vector<std::string>{"V"}));
    EXPECT_EQ(report.looked_at, 4U);
    ASSERT_EQ(report.unread.size(), 3U);
    EXPECT_EQ(report.unread[0].recipe, "R");
    EXPECT_NE(report.unread[0].text.find('k'), std::string::npos) << report.unread[0].text;
}

TEST(Recipes, are_active_as_they_stood_when_somebody_asked)
{
    Plant const plant;
    auto& project = *plant.project;
    ASSERT_TRUE(project.activate("S", {}).succeeded());
    auto const edit = [&](std::size_t done, std::size_t /*total*/)
    {
        for (auto const* const text : {"R::S::values::l = 5", "R::F::M >"})
        {
            EXPECT_TRUE(done != 1 || plant.edit(text).succeeded()) << text;
        }
    };
    auto const report = project.active({}, {.progress = edit});
    EXPECT_TRUE(report.succeeded()) << report.text;
    EXPECT_EQ(report.active, (std::vector<std::string>{"S"}));
    EXPECT_EQ(project.active({}, {}).active, std::vector<std::string>());
}

TEST(Recipes, have_the_members_of_their_type_and_of_those_that_it_inherits)
{
    Plant const plant;
    std::string shown;
    for (auto const& member : plant.project->members("U").members)
    {
        shown += member.type + '.' + member.name + ' ' + member.symbol + ' ' + member.nested_type + ' ' +
                 Json::shown(member.default_value) + ' ' + Json::shown(member.symbol_schema) + "; ";
    }
    constexpr char const* integer = R"({"type":"integer"})";
    EXPECT_EQ(shown, boost::replace_all_copy<std::string>("B.o o  - #; U.m m  - #; U.n  T - -; ", "#", integer));
    EXPECT_EQ(plant.project->members("V").error, ErrorValue::ENTRY_NOT_FOUND);
}

TEST(Revisions, tell_what_has_changed)
{
    Plant plant;
    struct Case
    {
        char const* name;
        std::function<void()> action;
        bool configuration;
        bool history;
        bool activity;
    };
    auto& project = plant.project;
    for (auto const& each :
         std::vector<Case>{
             {"an edit", [&] { EXPECT_TRUE(plant.edit("R::R::values::k = 3").succeeded()); }, true, true, false},
             {"a refused one", [&] { EXPECT_FALSE(plant.edit("R::Q >").succeeded()); }, false, false, false},
             {"a plan", [&] { EXPECT_TRUE(project->plan("R").succeeded()); }, false, false, false},
             // That a simulated controller keeps its values in a configuration of its own is nobody's concern.
             {"an activation", [&] { EXPECT_TRUE(project->activate("R", {}).succeeded()); }, false, true, true},
             {"a write", [&] { EXPECT_EQ(project->write_symbol("k", Value(1)).commands.size(), 1U); }, false, true,
              true},
             {"a called activation",
              [&] { EXPECT_TRUE(project->call(plant.domain, "ActivateRecipe", parameters("path", "R")).succeeded()); },
              false, false, true},
             {"an update", [&] { EXPECT_EQ(project->update({"F::M"}, {}).rows.size(), 1U); }, true, true, false},
             {"a restart", [&] { plant.reopen(); }, true, true, true},
         })
    {
        SCOPED_TRACE(each.name);
        auto const before = project->revisions();
        each.action();
        auto const after = project->revisions();
        EXPECT_EQ(after.configuration != before.configuration, each.configuration);
        EXPECT_EQ(after.history != before.history, each.history);
        EXPECT_EQ(after.activity != before.activity, each.activity);
    }
}

} // namespace
} // namespace Ravik::Test
