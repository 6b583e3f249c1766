#include "Fixture.h"

#include "api_helper.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <sstream>
#include <thread>

using namespace Ravik::Test;

namespace
{

/// An extension and its server for one edit: the extension never forgets a path.
struct EditedPlant : RecipeManagementFixture
{
    /// The extension is told of every entry, first of those in `ghosts`, which are not there.
    explicit EditedPlant(std::string const& before, std::string const& ghosts = "")
    {
        host.configuration[domain] = configuration_of(before);
        host.tells_of_writes = true;
        host.symbols["A"] = 1;
        std::istringstream paths(ghosts);
        for (std::string path; paths >> path;)
        {
            announce(path);
        }
        announce();
        host.call_count = 0;
    }

    std::string state() { return dump(host.configuration[domain]); }

    /// A client's delete, "PLACE >", or rename, "PLACE > PLACE".
    std::string edit(std::string const& text)
    {
        auto const arrow = text.find(" >");
        auto const path = full_path(text.substr(0, arrow));
        auto const new_path = text.size() == arrow + 2 ? "" : full_path(text.substr(arrow + 3));
        auto const entry = *node_path(path, std::as_const(host.configuration[domain])).node;
        EXPECT_EQ(host.change(domain, path, nullptr), ErrorValue::SUCCESS);
        auto& changes = extension.changes();
        if (new_path.empty())
        {
            return told(changes.on_delete(extension.context(), path.c_str(), entry, ""));
        }
        EXPECT_EQ(host.change(domain, new_path, &entry), ErrorValue::SUCCESS);
        return told(changes.on_rename(extension.context(), path.c_str(), new_path.c_str(), ""));
    }

    /// The recipes that are stored, in their order, which must all have 1 for A alone; or what failed, since one of
    /// them isn't there.
    std::string stored_recipes()
    {
        auto const active = extension.call("GetActiveRecipes", Value());
        return active.extension_result() == 0 ? text_of(active.read_value()) : told(active);
    }
};

} // namespace

// What a server that checks its edits can bring about as well is tested there, with the whole configuration after it.
TEST(DeleteRename, leaves_the_whole_configuration_as_it_should)
{
    struct Case
    {
        char const* about;
        char const* before;
        char const* edit;
        char const* after;
        char const* answer = "SUCCESS | ";
        char const* ghosts = "";
    };
    auto const cases = std::to_array<Case>({
        {"the first occurrence alone", "F::T { } V(F::T) { n>F::T } | R:F::T { }", "T::F > T::recipeTypeList::F",
         "V(recipeTypeList::F::T) { n>recipeTypeList::F::T } recipeTypeList::F::T { } | R:recipeTypeList::F::T { }"},
        {"also in the values", "T { } V { n>T b:B } | Q:V { n=F::R b=F::R } F::R:T { } F::S:V { n=F::F::R }",
         "R::F > R::G", "T { } V { n>T b:B } | Q:V { n=G::R b=F::R } G::R:T { } G::S:V { n=G::F::R }"},
        {"a missing type ends the cascade", "T { } V(T) { } | R:T { }", "T::T > T::U", "V(T) { } U { } | R:T { }",
         "SUCCESS | ", "recipeTypeList::Ghost"},
        {"a missing recipe is an error", "T { } V(T) { } | R:T { }", "T::T > T::U", "V(U) { } U { } | R:T { }",
         "ENTRY_NOT_FOUND | recipeList::Ghost", "recipeList::Ghost"},
        {"a missing recipe ends a member's rename", "T { a:A } | R:T { a=1 }", "T::T::members::a > T::T::members::z",
         "T { z:A } | R:T { a=1 }", "ENTRY_NOT_FOUND | DELETE_RENAME_PARTLY_FAILED", "recipeList::Ghost"},
        {"and the delete of an inherited type's name", "T(U) { } U { } |", "T::T::recipeTypeNames[0] >",
         "T { } U { } |", "ENTRY_NOT_FOUND | DELETE_RENAME_PARTLY_FAILED", "recipeList::Ghost"},
        {"a missing recipe ends the pass with success", "T { } V { n>T } | Q:V { n=R } R:T { }", "R::R > R::S",
         "T { } V { n>T } | Q:V { n=R } S:T { }", "SUCCESS | ", "recipeList::Ghost"},
        {"numbers name recipes as well", "T { } V { n>T } | Q:V { n=7 } 7:T { }", "R::7 > R::S",
         "T { } V { n>T } | Q:V { n=S } S:T { }"},
    });
    for (auto const& [about, before, edit, after, answer, ghosts] : cases)
    {
        SCOPED_TRACE(about);
        EditedPlant plant(before, ghosts);
        EXPECT_EQ(plant.edit(edit), answer);
        EXPECT_EQ(plant.state(), dump(configuration_of(after)));
    }
}

TEST(DeleteRename, keeps_the_stored_paths_in_step)
{
    // An edit, and the paths that are stored after it.
    auto const cases = std::to_array<std::pair<char const*, char const*>>({
        {"R::R > R::Z", "MISSING_RECIPE_DATA | "}, // R1 is rewritten to Z1
        {"R::R1 > R::Z", "R F::S F::Q Z"},
        {"R::R1 >", "R F::S F::Q"},
        {"R::F > R::G", "R G::S G::Q R1"},
        {"R::F >", "R R1"},
        {"R::F::Q > R::F::S2", "R F::S R1 F::S2"},
        {"T::T >", ""},
        {"R::R::values::a > R::R::values::z", "F::S F::Q R1"}, // what stands inside an entry is none
    });
    for (auto const& [edit, stored] : cases)
    {
        SCOPED_TRACE(edit);
        EditedPlant plant("T { a:A } | R:T { a=1 } F::S:T { a=1 } F::Q:T { a=1 } R1:T { a=1 }");
        plant.announce();
        for (auto const& [other, type] :
             {std::pair("recipeList", "recipe"), {"recipeList::Z", ""}, {"other", "recipe"}})
        {
            EXPECT_EQ(plant.extension.changes().on_change(plant.extension.context(), other, type).result(),
                      ErrorValue::SUCCESS);
        }
        plant.edit(edit);
        EXPECT_EQ(plant.stored_recipes(), stored);
    }
    // Neither a folder's path is one, which would keep N from being reached, nor a member's, which would keep all.
    EditedPlant plant("T { a:A } | F::R:T { a=1 } M:T { a=1 }");
    for (auto const* const edit : {"R::F > R::G", "R::M > R::N", "T::T::members::a > T::T::members::z"})
    {
        plant.edit(edit);
    }
    EXPECT_EQ(plant.host.change(EditedPlant::domain, "recipeTypeList::T::members::z", nullptr), ErrorValue::SUCCESS);
    plant.edit("T::T > T::U");
    EXPECT_EQ(plant.state(), dump(configuration_of("U { } | G::R:U { z=1 } N:U { z=1 }")));
}

TEST(DeleteRename, loses_no_path_that_is_notified_meanwhile)
{
    auto const recipes = "X:T { a=1 } " + repeated(300, "N#:T { a=1 } ");
    for (int round = 0; round < 30; ++round)
    {
        EditedPlant plant("T { a:A } | X:T { }");
        plant.configure("T { a:A }", recipes);
        std::atomic<bool> is_done = false;
        std::thread other(
            [&]
            {
                plant.announce();
                is_done = true;
            });
        while (!is_done)
        {
            EXPECT_EQ(plant.extension.changes()
                          .on_rename(plant.extension.context(), "recipeList::X", "recipeList::X", "")
                          .result(),
                      ErrorValue::SUCCESS);
        }
        other.join();
        auto const stored = plant.stored_recipes();
        ASSERT_EQ(std::count(stored.begin(), stored.end(), ' '), 300) << stored;
    }
}

TEST(DeleteRename, answers_the_outcome_of_the_last_write)
{
    using Edit = std::pair<char const*, char const*>;
    constexpr Edit member = {"T { a:A } | R:T { a=1 } S:T { a=2 }", "T::T::members::a > T::T::members::z"};
    constexpr Edit last_member = {"T { a:A } | R:T { a=1 } S:T { b=2 }", member.second};
    constexpr Edit type = {"T { a:A } V(T,T) { n>T m>T } | R:T { } S:T { }", "T::T > T::U"};
    constexpr Edit deleted_type = {"T { a:A } V { n>T } | R:T { } S:T { }", "T::T >"};
    constexpr Edit recipe = {"T { } V { n>T } | Q:V { n=R } P:V { n=R } R:T { }", "R::R >"};
    struct FailureCase
    {
        char const* about;
        Edit edit;
        /// The writes that fail, counted from 1, and how many there are.
        std::vector<std::size_t> failing;
        std::size_t writes;
        /// The paths in the answer's text, none for success.
        std::string paths;
    };
    std::string const in_r = "recipeList::R::values::";
    std::string const in_v = "recipeTypeList::V::";
    std::vector<FailureCase> const cases = {
        {"a member, the last write good", member, {1, 2, 3}, 4, ""},
        {"a member, first and last", member, {1, 4}, 4, in_r + "zrecipeList::S::values::a"},
        {"a recipe without the member ends the pass", last_member, {2}, 2, ""},
        {"a type, the first of each pass", type, {1, 3, 5}, 6, ""},
        {"the inherited types", type, {1, 2}, 2, in_v + "recipeTypeNames[0]" + in_v + "recipeTypeNames[1]"},
        {"the nested types", type, {3, 4}, 4, in_v + "members::n::recipeType" + in_v + "members::m::recipeType"},
        {"a recipe's type", type, {1, 6}, 6, "recipeList::S::recipeTypeName"},
        {"a deleted type's member", deleted_type, {1}, 1, in_v + "members::n"},
        {"its first recipe", deleted_type, {2}, 3, ""},
        {"its recipes", deleted_type, {2, 3}, 3, "recipeList::RrecipeList::S"},
        {"a value, the last write good", recipe, {1}, 2, ""},
        {"a value, the last write not", recipe, {1, 2}, 2, "recipeList::P"},
    };
    for (auto const& [about, edit, failing, writes, paths] : cases)
    {
        SCOPED_TRACE(about);
        EditedPlant plant(edit.first);
        plant.host.tells_of_writes = false;
        for (auto const write : failing)
        {
            // The first call reads the configuration.
            plant.host.failing_calls.insert(1 + write);
        }
        auto const* const partly = edit.second == std::string(recipe.second) ? "" : "DELETE_RENAME_PARTLY_FAILED: ";
        EXPECT_EQ(plant.edit(edit.second), paths.empty() ? "SUCCESS | " : std::string("SERVER | ") + partly + paths);
        EXPECT_EQ(plant.host.config_writes.size(), writes);
    }
}
