#include "EditedProject.h"

#include <gtest/gtest.h>

#include <array>

namespace Ravik::Test
{
namespace
{

struct Case
{
    char const* about;
    std::string_view before;
    std::string_view edit;
    /// The configuration afterwards; for a refusal the error.
    std::string_view after;
    bool is_refused = false;
};

// One of each kind of edit, and what random edits cannot tell: empty folders, the errors' names. All the ways in which
// entries refer to each other, under names that hold each other, are those edits' business (model_test).
constexpr auto cases = std::to_array<Case>({
    {"a folder of types", "F::A { m } F::B(F::A) { } X { k>F::B } | R1:F::A { m=1 } R2:F::B { }", "T::F > T::G",
     "X { k>G::B } G::A { m } G::B(G::A) { } | R1:G::A { m=1 } R2:G::B { }"},
    {"a type out of its folder", "A { m } F::B { } | R1:A { }", "T::F::B > T::B", "A { m } F/ B { } | R1:A { }"},
    {"a member", "A { m n } B { m } | R1:A { m=1 n=2 } R3:B { m=1 } G::R2:A { m=3 }",
     "T::A::members::m > T::A::members::k", "A { n k:m } B { m } | R1:A { n=2 k=1 } R3:B { m=1 } G::R2:A { k=3 }"},
    {"a recipe", "N { m } A { k>N } | R1:N { m=1 } R10:N { } R2:A { k=R1 } R3:A { k=R10 }", "R::R1 > R::F::X",
     "N { m } A { k>N } | R10:N { } R2:A { k=F::X } R3:A { k=R10 } F::X:N { m=1 }"},
    {"a recipe that is named by its full path", "N { m } A { k>N } | R1:N { m=1 } R2:A { k=recipeList::R1 }",
     "R::R1 > R::F::X", "N { m } A { k>N } | R2:A { k=recipeList::F::X } F::X:N { m=1 }"},
    {"a folder of recipes", "N { m } A { k>N } | F::R1:N { m=1 } R2:A { k=F::R1 }", "R::F > R::G",
     "N { m } A { k>N } | R2:A { k=G::R1 } G::R1:N { m=1 }"},
    {"a deleted type", "A { m } B(W,A) { n } N { k>A o } W { } | R1:A { m=1 } R2:B { n=1 m=2 } F::R3:A { }", "T::A >",
     "B(W) { n } N { o } W { } | R2:B { n=1 m=2 } F/"},
    {"a deleted nested type, whose member's value stays", "N { m } A { k>N o } | R1:N { m=1 } R2:A { k=R1 o=2 }",
     "T::N >", "A { o } | R2:A { k=R1 o=2 }"},
    {"a deleted type, whose member stood before one of its name",
     "N { m } B { k>N } A { x>B k>N } | R1:B { } R2:A { k=R1 }", "T::B >", "N { m } A { k>N } | R2:A { k= }"},
    {"a deleted folder of types", "F::A { m } F::B { } C(F::A,F::B,W) { } W { k>F::B } | R1:C { m=1 } R2:F::A { }",
     "T::F >", "C(W) { } W { } | R1:C { m=1 }"},
    {"a deleted recipe", "N { m } A { k>N } | R1:N { m=1 } R2:A { k=R1 }", "R::R1 >",
     "N { m } A { k>N } | R2:A { k= }"},
    {"a deleted member", "A { m n } | R1:A { m=1 n=2 }", "T::A::members::m >", "A { n } | R1:A { m=1 n=2 }"},
    {"a deleted value", "A { m } | R1:A { m=1 }", "R::R1::values::m >", "A { m } | R1:A { }"},
    {"a member of a type that inherits it", "B { m } T(B) { n } | R1:T { m=5 }", "T::B::members::m > T::B::members::n",
     "ID_IN_USE", true},
    {"a value that nothing stands for", "A { m } | R1:A { m=1 z=2 }", "T::A::members::m > T::A::members::z",
     "ID_IN_USE", true},
    {"a type that a value is called after", "A { m } T(A) { } | R1:A { m=1 } R2:T { A=R1 }", "T::A > T::F::A",
     "INVALID_PATH", true},
    {"a member called like the type", "A { m } T(A) { B:k } | R1:T { }", "T::A > T::B", "ID_IN_USE", true},
});

void expect_made(EditedProject& edited, std::vector<std::string> const& edits)
{
    for (auto const& edit : edits)
    {
        auto const report = edited.edit(edit);
        EXPECT_TRUE(report.succeeded()) << edit << ": " << report.text;
    }
}

std::string cascade(EditReport const& report)
{
    std::string steps;
    for (auto const& step : report.cascade)
    {
        steps.append(step.removed ? "-" : "+").append(step.path).append(" ");
    }
    return steps;
}

/// Starts the project anew: the extension must have known every path in the order in which one started afresh does.
void restart(EditedProject& edited)
{
    auto const order = edited.listed();
    edited.reopen();
    EXPECT_EQ(edited.listed(), order);
}

/// The configuration after each edit, its dry run and a restart.
TEST(Edits, carry_every_reference_exactly)
{
    for (auto const& test : cases)
    {
        SCOPED_TRACE(test.about);
        auto const before = state_of(std::string(test.before));
        auto const after = test.is_refused ? before : state_of(std::string(test.after));
        std::string const edit(test.edit);
        EditedProject edited{std::string(test.before)};
        EXPECT_EQ(edited.state(), before) << "as imported";
        auto const trial = edited.edit(edit, {.dry_run = true});
        EXPECT_EQ(edited.state(), before) << "a dry run changes nothing";
        auto const report = edited.edit(edit);
        EXPECT_EQ(name(report.error), test.is_refused ? test.after : "SUCCESS") << report.text;
        EXPECT_EQ(name(trial.error), name(report.error));
        EXPECT_EQ(report.made, !test.is_refused);
        EXPECT_EQ(edited.state(), after);
        EXPECT_EQ(cascade(trial), cascade(report));
        restart(edited);
        EXPECT_EQ(edited.state(), after) << "after a restart";
    }
}

TEST(Edits, leave_the_recipes_in_the_order_of_the_tree)
{
    EditedProject edited("A { m n } | F::R1:A { m=1 } R2:A { m=2 }");
    for (
        auto const* const edit :
        {R"(R::F::R3 = {"recipeTypeName":"A","values":{}})", R"(R::R4 = {"recipeTypeName":"A","values":{"m":4}})",
         R"(R::F::R0 = {"recipeTypeName":"A","values":{"m":1}})", "R::F::R0 > R::F::R5", "R::R2 >", "R::F > R::G",
         "+ | G::R6:A { } R7:A { }",
         R"(R::G = {"R6":{"recipeTypeName":"A","values":{}},"R1":{"recipeTypeName":"A","values":{}},"R3":{"recipeTypeName":"A","values":{}},"R5":{"recipeTypeName":"A","values":{}}})"})
    {
        SCOPED_TRACE(edit);
        expect_made(edited, {edit});
        restart(edited);
    }
}

TEST(Edits, report_what_else_changed)
{
    EditedProject edited("A { m } B(A) { } | R1:A { m=1 } R2:B { }");
    EXPECT_EQ(cascade(edited.edit("T::A > T::C")),
              "+recipeTypeList::B::recipeTypeNames[0] +recipeList::R1::recipeTypeName ");
    EXPECT_EQ(cascade(edited.edit("T::C >")), "-recipeTypeList::B::recipeTypeNames[0] -recipeList::R1 ");
    EXPECT_EQ(cascade(edited.edit("R >")), "-recipeList::R2 ");
    EXPECT_FALSE(edited.get("recipeList").isset());
}

TEST(Edits, set_makes_what_is_missing_and_tells_the_extension)
{
    EditedProject edited("A { m } | R1:A { m=1 }");
    expect_made(edited, {R"(T::F::G::B::members::n = {"symbol":"n","enabled":true})",
                         R"(R::F::R2 = {"recipeTypeName":"F::G::B","values":{"n":2}})", "R::R1::values::m = 7",
                         R"(R::F::G = {"R3":{"recipeTypeName":"A","values":{}}})"});
    EXPECT_EQ(edited.state(), state_of("A { m } F::G::B { n } | R1:A { m=7 } F::R2:F::G::B { n=2 } F::G::R3:A { }"));
    restart(edited);
    expect_made(edited, {"T::F::G::B > T::B"});
    restart(edited);
    EXPECT_EQ(edited.state(), state_of("A { m } F::G/ B { n } | R1:A { m=7 } F::R2:B { n=2 } F::G::R3:A { }"));

    EXPECT_TRUE(edited.project->set("Line", "other", Value(1)).succeeded());
    EXPECT_EQ(name(edited.project->set("Line", "variables::k", Value(1)).error), "INVALID_PATH") << "ravik.json has it";
    EXPECT_EQ(name(edited.project->rename("Line", "other", "variables", {}).error), "INVALID_PATH");
}

/// Of the edits that a service offers, its own tests tell so.
TEST(Edits, under_a_condition_that_does_not_hold_change_nothing)
{
    EditedProject const edited("A { m } | R1:A { m=1 }");
    auto& project = *edited.project;
    auto const state = edited.state();
    Condition const other{.kind = Condition::Kind::Tag, .tags = {"another"}};
    EXPECT_TRUE(project.copy(edited.domain, "recipeList::R1", "recipeList::R2", {.condition = other}).condition_failed);
    auto const before = project.revisions().configuration - 1;
    EXPECT_TRUE(project.import_table(edited.domain, "A", "recipe;m\nR1;8\n", {.revision = before}).condition_failed);
    EXPECT_EQ(edited.state(), state);
}

TEST(Edits, import_merges_or_replaces)
{
    EditedProject edited("A { m } F::B { n } | R1:A { m=1 } F::R2:A { }");
    auto const import = [&edited](char const* text, ImportOptions const& options)
    { return edited.project->import(edited.domain, configuration_of(text), options); };
    ImportOptions options;
    std::string calls;
    options.progress = [&calls](std::size_t done, std::size_t total)
    { calls += std::to_string(done) + "/" + std::to_string(total) + " "; };
    EXPECT_TRUE(import("F::C { o } | R1:A { m=2 } F::R3:F::C { }", options).succeeded()) << "the type as well";
    EXPECT_EQ(calls, "1/7 2/7 3/7 4/7 5/7 6/7 7/7 ") << "both lists, two folders, three entries";
    auto const state = state_of("A { m } F::B { n } F::C { o } | R1:A { m=2 } F::R2:A { } F::R3:F::C { }");
    EXPECT_EQ(edited.state(), state);
    restart(edited);

    ImportOptions dry;
    dry.dry_run = true;
    EXPECT_TRUE(import("D { o } |", dry).succeeded());
    auto const report = import("F { } G { y>G } A { m } | R5:nobody { m=1 } R1:A { m=x } F:A { } R6:A { m=3 }", dry);
    std::string refused;
    for (auto const& entry : report.refused)
    {
        refused.append(entry.path).append("=").append(name(entry.error)).append(" ");
    }
    EXPECT_EQ(refused, "recipeTypeList::F=TYPE_MISMATCH recipeList::R5=TYPE_MISSING recipeList::R1=TYPE_MISMATCH "
                       "recipeList::F=TYPE_MISMATCH ");
    EXPECT_EQ(edited.edit("+ A::X { m } |").path, "recipeTypeList::A") << "a folder over an entry";

    ImportOptions replace;
    replace.replace = true;
    EXPECT_EQ(name(import("| R1:A { m=1 }", replace).error), "TYPE_MISSING") << "the types go";
    EXPECT_EQ(edited.state(), state);
    EXPECT_TRUE(import("Z { m } | R7:Z { m=1 }", replace).succeeded());
    restart(edited);
    EXPECT_EQ(edited.state(), state_of("Z { m } | R7:Z { m=1 }"));
}

} // namespace
} // namespace Ravik::Test
