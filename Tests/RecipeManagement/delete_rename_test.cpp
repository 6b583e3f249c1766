#include "Fixture.h"

#include "algorithm_helper.h"
#include "api_helper.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <set>
#include <sstream>
#include <thread>

using namespace Ravik::Test;
using namespace RavikSrv;

namespace
{

/// An extension and its server for one edit: the extension never forgets a path.
struct EditedPlant : RecipeManagementFixture
{
    /// The extension is told of every entry, first of those in `ghosts`, which are not there.
    EditedPlant(std::string const& types, std::string const& recipes, std::string const& ghosts = "")
    {
        configure(types, recipes);
        host.tells_of_writes = true;
        std::istringstream paths(ghosts);
        for (std::string path; paths >> path;)
        {
            announce(path);
        }
        announce();
    }

    std::string state() { return dump(host.configuration[domain]); }

    /// A client's delete, or rename where there is a new path.
    std::string edit(std::string const& path, std::string const& new_path)
    {
        auto const entry = *node_path(path, std::as_const(host.configuration[domain])).node;
        host.change(domain, path, nullptr);
        auto& changes = extension.changes();
        if (new_path.empty())
        {
            return told(changes.on_delete(extension.context(), path.c_str(), entry, ""));
        }
        host.change(domain, new_path, &entry);
        return told(changes.on_rename(extension.context(), path.c_str(), new_path.c_str(), ""));
    }

    /// The names of the recipes that are stored, in their order, and where their walk ended. A rename of all types to
    /// themselves writes to them.
    std::string stored_recipes()
    {
        host.config_writes.clear();
        auto const answer = extension.changes().on_rename(extension.context(), "recipeTypeList", "recipeTypeList", "");
        std::string names;
        for (auto [path, value] : host.config_writes)
        {
            if (Algorithm::remove_start(path, "recipeList::"))
            {
                names.append(names.empty() ? "" : " ").append(path, 0, path.rfind("::"));
            }
        }
        return Algorithm::empty(answer.text()) ? names : names + " (" + answer.text() + ")";
    }
};

struct Scenario
{
    char const* about;
    char const* types;
    char const* recipes;
    char const* path;
    char const* new_path;
    char const* types_after;
    char const* recipes_after;
    char const* answer = "SUCCESS | ";
    char const* ghosts = "";
};

} // namespace

TEST(DeleteRename, leaves_the_whole_configuration_as_it_should)
{
    auto const scenarios = std::to_array<Scenario>({
        {"rename a type", "T { a:A } V(W,T) { n>T b:B } W { }", "R:T { a=1 } S:V { n=R b=2 }", "recipeTypeList::T",
         "recipeTypeList::U", "V(W,U) { n>U b:B } W { } U { a:A }", "R:U { a=1 } S:V { n=R b=2 }"},
        {"delete a type", "T { a:A } V(W,T) { n>T b:B } W { }", "R:T { a=1 } S:V { n=R b=2 }", "recipeTypeList::T", "",
         "V(W) { b:B } W { }", "S:V { n=R b=2 }"},
        {"rename a folder of types", "F::T { a:A } F::U(F::T) { } V { n>F::T }", "R:F::T { a=1 } S:F::U { } Q:V { }",
         "recipeTypeList::F", "recipeTypeList::G::H", "V { n>G::H::T } G::H::T { a:A } G::H::U(G::H::T) { }",
         "R:G::H::T { a=1 } S:G::H::U { } Q:V { }"},
        {"delete a folder of types", "F::T { } V { n>F::T b:B }", "R:F::T { } Q:V { b=1 }", "recipeTypeList::F", "",
         "V { b:B }", "Q:V { b=1 }"},
        {"the second removal counts from the list before the first", "F::T { } F::U { } V(F::T,F::U,W) { } W { }", "",
         "recipeTypeList::F", "", "V(F::U) { } W { }", ""},
        {"and ends the cascade where nothing stands there", "F::T { } F::U { } V(F::T,F::U) { n>F::T }", "R:F::T { }",
         "recipeTypeList::F", "", "V(F::U) { n>F::T }", "R:F::T { }",
         "ENTRY_NOT_FOUND | DELETE_RENAME_PARTLY_FAILED: recipeTypeList::V::recipeTypeNames[1]"},
        {"deleting A takes the recipes of AB with it", "A { } AB { b:B } C(AB) { n>AB c:C }", "R:A { } S:AB { b=1 }",
         "recipeTypeList::A", "", "AB { b:B } C { c:C }", ""},
        {"renaming A beside AB carries nothing", "AB { b:B } A { } C(A,AB) { n>AB c:C }", "R:A { } S:AB { b=1 }",
         "recipeTypeList::A", "recipeTypeList::X", "AB { b:B } C(A,AB) { n>AB c:C } X { }", "R:A { } S:AB { b=1 }"},
        {"the first occurrence alone", "F::T { } V(F::T) { n>F::T }", "R:F::T { }", "recipeTypeList::F",
         "recipeTypeList::recipeTypeList::F",
         "V(recipeTypeList::F::T) { n>recipeTypeList::F::T } recipeTypeList::F::T { }", "R:recipeTypeList::F::T { }"},
        {"a missing type ends the cascade", "T { } V(T) { }", "R:T { }", "recipeTypeList::T", "recipeTypeList::U",
         "V(T) { } U { }", "R:T { }", "SUCCESS | ", "recipeTypeList::Ghost"},
        {"a missing recipe is an error", "T { } V(T) { }", "R:T { }", "recipeTypeList::T", "recipeTypeList::U",
         "V(U) { } U { }", "R:T { }", "ENTRY_NOT_FOUND | recipeList::Ghost", "recipeList::Ghost"},

        {"rename a member", "T { a:A } V { a:B }", "R:T { a=1 } S:V { a=2 } F::Q:T { a=3 b=4 }",
         "recipeTypeList::T::members::a", "recipeTypeList::T::members::z", "T { z:A } V { a:B }",
         "R:T { z=1 } S:V { a=2 } F::Q:T { b=4 z=3 }"},
        {"a recipe without the member ends the pass", "T { a:A }", "R:T { a=1 } S:T { b=2 } Q:T { a=3 }",
         "recipeTypeList::T::members::a", "recipeTypeList::T::members::z", "T { z:A }",
         "R:T { z=1 } S:T { b=2 } Q:T { a=3 }"},
        {"any type whose name is part of the path counts", "T { a:A } TT { a:B } e { a:A }",
         "R:T { a=1 } S:TT { a=2 } Q:e { a=3 }", "recipeTypeList::TT::members::a", "recipeTypeList::TT::members::z",
         "T { a:A } TT { z:B } e { a:A }", "R:T { z=1 } S:TT { z=2 } Q:e { z=3 }"},
        {"delete a member", "T { a:A b:B }", "R:T { a=1 b=2 }", "recipeTypeList::T::members::a", "", "T { b:B }",
         "R:T { a=1 b=2 }"},
        {"a missing recipe ends a member's rename", "T { a:A }", "R:T { a=1 }", "recipeTypeList::T::members::a",
         "recipeTypeList::T::members::z", "T { z:A }", "R:T { a=1 }", "ENTRY_NOT_FOUND | DELETE_RENAME_PARTLY_FAILED",
         "recipeList::Ghost"},
        {"and its delete", "T { a:A }", "R:T { a=1 }", "recipeTypeList::T::members::a", "", "T { }", "R:T { a=1 }",
         "ENTRY_NOT_FOUND | DELETE_RENAME_PARTLY_FAILED", "recipeList::Ghost"},
        {"and of an inherited type's name", "T(U) { } U { }", "", "recipeTypeList::T::recipeTypeNames[0]", "",
         "T { } U { }", "", "ENTRY_NOT_FOUND | DELETE_RENAME_PARTLY_FAILED", "recipeList::Ghost"},

        {"rename a recipe", "T { } V { n>T m>T b:B }", "Q:V { n=R m= b=R } R:T { }", "recipeList::R", "recipeList::S",
         "T { } V { n>T m>T b:B }", "Q:V { n=S m= b=R } S:T { }"},
        {"delete a recipe", "T { } V { n>T b:B }", "Q:V { n=R b=R } P:V { n=Rx } R:T { }", "recipeList::R", "",
         "T { } V { n>T b:B }", "Q:V { n= b=R } P:V { n=x }"},
        {"rename a folder of recipes", "T { } V { n>T }", "Q:V { n=F::R } F::R:T { } F::S:V { n=F::F::R }",
         "recipeList::F", "recipeList::G", "T { } V { n>T }", "Q:V { n=G::R } G::R:T { } G::S:V { n=G::F::R }"},
        {"an inherited nested member is left behind", "T { } U { n>T } V(U) { }", "Q:V { n=R } P:U { n=R } R:T { }",
         "recipeList::R", "recipeList::S", "T { } U { n>T } V(U) { }", "Q:V { n=R } P:U { n=S } S:T { }"},
        {"renaming R beside R1 ends at what is no longer there", "T { } V { n>T }",
         "Q:V { n=R } P:V { n=R1 } R1:T { } O:V { n=R } R:T { }", "recipeList::R", "recipeList::X", "T { } V { n>T }",
         "Q:V { n=X } P:V { n=X1 } R1:T { } O:V { n=R } X:T { }"},
        {"a missing recipe ends the pass with success", "T { } V { n>T }", "Q:V { n=R } R:T { }", "recipeList::R",
         "recipeList::S", "T { } V { n>T }", "Q:V { n=R } S:T { }", "SUCCESS | ", "recipeList::Ghost"},
        {"numbers name recipes as well", "T { } V { n>T }", "Q:V { n=7 } 7:T { }", "recipeList::7", "recipeList::S",
         "T { } V { n>T }", "Q:V { n=S } S:T { }"},
    });
    for (auto const& [about, types, recipes, path, new_path, types_after, recipes_after, answer, ghosts] : scenarios)
    {
        EditedPlant plant(types, recipes, ghosts);
        EXPECT_EQ(plant.edit(path, new_path), answer) << about;
        EXPECT_EQ(plant.state(), dump(configuration_of(types_after, recipes_after))) << about;
    }
}

TEST(DeleteRename, keeps_the_stored_paths_in_step)
{
    auto const cases = std::to_array<std::array<char const*, 3>>({
        {"recipeList::R", "recipeList::Z", "F::S F::Q (recipeList::Z1)"},
        {"recipeList::R1", "recipeList::Z", "R F::S F::Q Z"},
        {"recipeList::R1", "", "R F::S F::Q"},
        {"recipeList::F", "recipeList::G", "R G::S G::Q R1"},
        {"recipeList::F", "", "R R1"},
        {"recipeList::F::Q", "recipeList::F::S2", "R F::S R1 F::S2"},
        {"recipeTypeList::T", "", ""},
        // What stands inside an entry is none.
        {"recipeList::R::values::a", "recipeList::R::values::z", "R F::S F::Q R1"},
    });
    for (auto const& [path, new_path, stored] : cases)
    {
        EditedPlant plant("T { a:A }", "R:T { a=1 } F::S:T { a=1 } F::Q:T { a=1 } R1:T { a=1 }");
        plant.edit(path, new_path);
        EXPECT_EQ(plant.stored_recipes(), stored) << path << " to " << new_path;
    }
    // Were it stored, it would end the walk of the types, and with it that of the recipes.
    EditedPlant missing("T { a:A }", "R:T { a=1 }");
    missing.extension.changes().on_rename(missing.extension.context(), "recipeTypeList::T::members::b",
                                          "recipeTypeList::T::members::z", "");
    EXPECT_EQ(missing.stored_recipes(), "R");

    // A folder is no recipe: as an entry of the list it would end the pass before M.
    EditedPlant plant("T { a:A }", "F::R:T { a=1 }");
    plant.host.configuration[EditedPlant::domain] = configuration_of("T { a:A }", "F::R:T { a=1 } M:T { a=1 }");
    plant.edit("recipeList::F", "recipeList::G");
    plant.announce("recipeList::M");
    plant.edit("recipeTypeList::T::members::a", "recipeTypeList::T::members::z");
    EXPECT_EQ(plant.state(), dump(configuration_of("T { z:A }", "M:T { z=1 } G::R:T { z=1 }")));
}

TEST(DeleteRename, loses_no_path_that_is_notified_meanwhile)
{
    auto const recipe = [](auto const& i, auto const& /*next*/) { return "N" + i + ":T { } "; };
    for (int round = 0; round < 30; ++round)
    {
        EditedPlant plant("T { }", "");
        plant.host.configuration[EditedPlant::domain] = configuration_of("T { }", "X:T { } " + repeated(300, recipe));
        std::atomic<bool> is_done = false;
        std::thread other(
            [&]
            {
                plant.announce("recipeList::X");
                for (int i = 0; i < 300; ++i)
                {
                    plant.announce("recipeList::N" + std::to_string(i));
                }
                is_done = true;
            });
        while (!is_done)
        {
            plant.extension.changes().on_rename(plant.extension.context(), "recipeList::X", "recipeList::X", "");
        }
        other.join();
        auto const stored = plant.stored_recipes();
        ASSERT_EQ(std::count(stored.begin(), stored.end(), ' '), 300) << stored;
    }
}

TEST(DeleteRename, answers_the_outcome_of_the_last_write)
{
    struct Edit
    {
        char const* types;
        char const* recipes;
        char const* path;
        char const* new_path;
    };
    Edit const member = {"T { a:A }", "R:T { a=1 } S:T { a=2 }", "recipeTypeList::T::members::a",
                         "recipeTypeList::T::members::z"};
    Edit const last_member = {"T { a:A }", "R:T { a=1 } S:T { b=2 }", "recipeTypeList::T::members::a",
                              "recipeTypeList::T::members::z"};
    Edit const type = {"T { a:A } V(T,T) { n>T m>T }", "R:T { } S:T { }", "recipeTypeList::T", "recipeTypeList::U"};
    Edit const deleted_type = {"T { a:A } V { n>T }", "R:T { } S:T { }", "recipeTypeList::T", ""};
    Edit const recipe = {"T { } V { n>T }", "Q:V { n=R } P:V { n=R } R:T { }", "recipeList::R", ""};
    struct Case
    {
        Edit const& edit;
        std::set<std::size_t> failing;
        std::size_t writes;
        /// What failed, behind the prefix; none for success.
        char const* failed;
    };
    std::vector<Case> const cases = {
        {member, {1}, 4, ""},
        {member, {1, 2, 3}, 4, ""},
        {member, {4}, 4, "recipeList::S::values::a"},
        {member, {1, 4}, 4, "recipeList::R::values::zrecipeList::S::values::a"},
        {member, {2, 3, 4}, 4, "recipeList::R::values::arecipeList::S::values::zrecipeList::S::values::a"},
        {last_member, {2}, 2, ""},
        {type, {1, 3, 5}, 6, ""},
        {type, {2}, 2, "recipeTypeList::V::recipeTypeNames[1]"},
        {type, {1, 2}, 2, "recipeTypeList::V::recipeTypeNames[0]recipeTypeList::V::recipeTypeNames[1]"},
        {type, {4}, 4, "recipeTypeList::V::members::m::recipeType"},
        {type, {3, 4}, 4, "recipeTypeList::V::members::n::recipeTyperecipeTypeList::V::members::m::recipeType"},
        {type, {1, 6}, 6, "recipeList::S::recipeTypeName"},
        {type, {5, 6}, 6, "recipeList::R::recipeTypeNamerecipeList::S::recipeTypeName"},
        {deleted_type, {1}, 1, "recipeTypeList::V::members::n"},
        {deleted_type, {3}, 3, "recipeList::S"},
        {deleted_type, {2}, 3, ""},
        {recipe, {1}, 2, ""},
        {recipe, {2}, 2, "recipeList::P"},
        {recipe, {1, 2}, 2, "recipeList::P"},
    };
    for (auto const& [edit, failing, writes, failed] : cases)
    {
        EditedPlant plant(edit.types, edit.recipes);
        plant.host.failing_writes = failing;
        std::string const prefix = &edit == &recipe ? "" : "DELETE_RENAME_PARTLY_FAILED: ";
        EXPECT_EQ(plant.edit(edit.path, edit.new_path), *failed == 0 ? "SUCCESS | " : "SERVER | " + prefix + failed);
        EXPECT_EQ(plant.host.config_writes.size(), writes) << failed;
    }
}
