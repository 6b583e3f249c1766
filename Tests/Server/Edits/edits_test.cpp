#include "EditedProject.h"
#include "Json/Json.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <initializer_list>
#include <sys/resource.h>

namespace Ravik
{
namespace
{

using RavikSrv::Value;
using Testing::EditedProject;
using Testing::full_path;
using Testing::name;

struct Scenario
{
    char const* what;
    char const* before;
    char const* move;
    /// What the rehearsal says; null where the edit goes ahead.
    char const* refusal;
    /// The configuration after it, with force where it is refused.
    char const* after;
};

constexpr std::initializer_list<Scenario> scenarios = {
    {"rename a type", "A(m) B<A>(n) N(k@A) | R1:A(m=1) R2:B(n=2,m=3)", "T/A > T/C", nullptr,
     "B<C>(n) N(k@C) C(m) | R1:C(m=1) R2:B(n=2,m=3)"},
    {"rename a type into a new folder", "A(m) B<A>() | R1:A()", "T/A > T/F/G/A", nullptr,
     "B<F/G/A>() F/G/A(m) | R1:F/G/A()"},
    {"rename a folder of types", "F/A(m) F/B<F/A>() X(k@F/B) | R1:F/A(m=1) R2:F/B()", "T/F > T/G", nullptr,
     "X(k@G/B) G/A(m) G/B<G/A>() | R1:G/A(m=1) R2:G/B()"},
    {"rename a member", "A(m,n) | R1:A(m=1,n=2) G/R2:A(m=3)", "T/A/members/m > T/A/members/k", nullptr,
     "A(n,k) | R1:A(n=2,k=1) G/R2:A(k=3)"},
    {"rename a recipe", "N(m) A(k@N) | R1:N(m=1) R2:A(k=R1)", "R/R1 > R/F/X", nullptr,
     "N(m) A(k@N) | R2:A(k=F/X) F/X:N(m=1)"},
    {"rename a folder of recipes", "N(m) A(k@N) | F/R1:N(m=1) R2:A(k=F/R1)", "R/F > R/G", nullptr,
     "N(m) A(k@N) | R2:A(k=G/R1) G/R1:N(m=1)"},
    {"rename a value", "A(m) | R1:A(m=1)", "R/R1/values/m > R/R1/values/n", nullptr, "A(m) | R1:A(n=1)"},
    {"delete a type with its recipes", "A(m) B(n) | R1:A(m=1) R2:B(n=1) F/R3:A()", "T/A >", nullptr,
     "B(n) | R2:B(n=1) F/"},
    {"delete an inherited type", "A(m) B<A>(n) | R2:B(n=1,m=2)", "T/A >", nullptr, "B(n) | R2:B(n=1,m=2)"},
    {"delete a nested type, whose recipes are used", "N(m) A(k@N) | R1:N(m=1) R2:A(k=R1)", "T/N >", nullptr,
     "A() | R2:A(k=R1)"},
    {"delete a folder of types", "F/A(m) F/B() X<F/A>(k@F/B) | R1:F/A(m=1)", "T/F >", nullptr, "X() |"},
    {"delete a recipe that another names", "N(m) A(k@N) | R1:N(m=1) R2:A(k=R1)", "R/R1 >", nullptr,
     "N(m) A(k@N) | R2:A(k=)"},
    {"delete a folder of recipes", "N(m) | F/R1:N(m=1) F/R2:N() R3:N()", "R/F >", nullptr, "N(m) | R3:N()"},
    {"delete a member", "A(m,n) | R1:A(m=1,n=2)", "T/A/members/m >", nullptr, "A(n) | R1:A(m=1,n=2)"},
    {"delete an inherited name", "A(m) B<A>(n) | R1:B(n=2)", "T/B/recipeTypeNames[0] >", nullptr,
     "A(m) B(n) | R1:B(n=2)"},
    {"delete a value", "A(m) | R1:A(m=1)", "R/R1/values/m >", nullptr, "A(m) | R1:A()"},
    {"delete a list", "A(m) | R1:A(m=1)", "R >", nullptr, "A(m) |"},
    {"R1 beside R10", "N(m) | R1:N(m=1) R10:N(m=2) R2:N()", "R/R1 > R/X", nullptr, "N(m) | R10:N(m=2) R2:N() X:N(m=1)"},
    {"delete R1 beside R10", "N(m) | R1:N(m=1) R10:N(m=2)", "R/R1 >", nullptr, "N(m) | R10:N(m=2)"},
    {"delete a type whose recipe R1 stands beside R10", "A(m) B(n) | R1:A() R10:B()", "T/A >", nullptr,
     "B(n) | R10:B()"},
    {"an empty folder", "A(m) F/B() | R1:A()", "T/F/B > T/B", nullptr, "A(m) F/ B() | R1:A()"},
    // What the extension would get wrong.
    {"A beside AB, used", "A(m) AB(n) | R1:A(m=1) R2:AB(n=2)", "T/A > T/C", "ENTRY_NOT_FOUND",
     "AB(n) C(m) | R1:A(m=1) R2:AB(n=2)"},
    {"delete A beside AB, used", "A(m) AB(n) | R1:A(m=1) R2:AB(n=2)", "T/A >", "MULTIPLE_MATCHES", "AB(n) |"},
    {"delete a folder of types of which one inherits two", "F/A(m) F/B(n) C<F/A,F/B>(o) | R1:C(m=1,o=2)", "T/F >",
     "ENTRY_NOT_FOUND", "C<F/B>(o) | R1:C(m=1,o=2)"},
    {"rename a recipe that an inherited nested member names", "N(m) B(k@N) C<B>() | R1:N(m=1) R2:C(k=R1)",
     "R/R1 > R/R9", "ENTRY_NOT_FOUND", "N(m) B(k@N) C<B>() | R2:C(k=R1) R9:N(m=1)"},
    {"rename a member that only some recipes have", "A(m,n) | R1:A(n=1) R2:A(m=1)", "T/A/members/m > T/A/members/k",
     "ENTRY_NOT_FOUND", "A(n,k) | R1:A(n=1) R2:A(m=1)"},
    {"rename a member that recipes of an inheriting type have", "A(m) B<A>() | R1:A(m=1) R2:B(m=2)",
     "T/A/members/m > T/A/members/k", "ENTRY_NOT_FOUND", "A(k) B<A>() | R1:A(k=1) R2:B(m=2)"},
    {"delete R1 while a value names R10", "N(m) A(k@N) | R1:N() R10:N() R2:A(k=R10)", "R/R1 >", "MULTIPLE_MATCHES",
     "N(m) A(k@N) | R10:N() R2:A(k=0)"},
};

/// The configuration, what `check` finds, and the paths that the extension keeps, after each scenario, its refusal, its
/// dry run, its force and a restart.
TEST(Edits, carry_every_reference_or_are_refused)
{
    for (auto const& scenario : scenarios)
    {
        SCOPED_TRACE(scenario.what);
        EditedProject edited(scenario.before);
        EXPECT_EQ(edited.state(), scenario.before) << "as imported";
        auto const trial = edited.move(scenario.move, {.force = false, .dry_run = true});
        EXPECT_EQ(edited.state(), scenario.before) << "a dry run changes nothing";
        auto report = edited.move(scenario.move);
        EXPECT_EQ(name(report.error), scenario.refusal == nullptr ? "SUCCESS" : scenario.refusal) << report.text;
        EXPECT_EQ(name(trial.error), name(report.error));
        EXPECT_EQ(report.made, scenario.refusal == nullptr);
        if (scenario.refusal != nullptr)
        {
            EXPECT_NE(report.text.find("--force"), std::string::npos) << report.text;
            EXPECT_EQ(edited.state(), scenario.before);
            report = edited.move(scenario.move, {.force = true, .dry_run = false});
            EXPECT_TRUE(report.made);
        }
        EXPECT_EQ(edited.state(), scenario.after);
        ASSERT_EQ(trial.cascade.size(), report.cascade.size());
        for (std::size_t step = 0; step < report.cascade.size(); ++step)
        {
            EXPECT_EQ(trial.cascade[step].path, report.cascade[step].path);
        }
        edited.reopen();
        EXPECT_EQ(edited.state(), scenario.after) << "after a restart";
    }
}

/// A move that went ahead leaves the extension knowing every path: it lists all recipes, and carries a second move.
TEST(Edits, keep_the_paths_of_the_extension)
{
    for (auto const& scenario : scenarios)
    {
        SCOPED_TRACE(scenario.what);
        EditedProject edited(scenario.before);
        edited.move(scenario.move, {.force = true, .dry_run = false});
        for (char const* const type : {"A", "B", "C", "F/G/A", "N", "G/A"})
        {
            auto const path = full_path(std::string("T/") + type);
            if (edited.project->get(edited.domain, path).succeeded() && scenario.refusal == nullptr)
            {
                EXPECT_EQ(edited.listed_recipes(), edited.stored_recipes());
                auto const report = edited.project->rename(edited.domain, path, "recipeTypeList::Q", {});
                EXPECT_TRUE(report.succeeded()) << report.text;
                EXPECT_EQ(edited.listed_recipes(), edited.stored_recipes());
                break;
            }
        }
    }
}

/// The extension meets its paths in the order in which it was told of them, the rehearsal in that of the tree; where
/// that makes a difference the edit still comes out as rehearsed.
TEST(Edits, come_out_as_rehearsed_whatever_the_order_of_the_paths)
{
    EditedProject edited("A(m,n) | F/R1:A(m=1) R2:A(m=2)");
    EXPECT_TRUE(edited.set("R/F/R3", R"({"recipeTypeName":"A","values":{}})").succeeded());
    EXPECT_TRUE(edited.set("R/R4", R"({"recipeTypeName":"A","values":{"m":4}})").succeeded());
    EXPECT_EQ(edited.state(), "A(m,n) | F/R1:A(m=1) F/R3:A() R2:A(m=2) R4:A(m=4)");
    EXPECT_EQ(name(edited.move("T/A/members/m > T/A/members/k").error), "ENTRY_NOT_FOUND") << "ends at R3 in the tree";
    EXPECT_TRUE(edited.move("R/F/R3 >").succeeded());
    EXPECT_TRUE(edited.set("R/F/R0", R"({"recipeTypeName":"A","values":{"m":0}})").succeeded());
    EXPECT_TRUE(edited.set("R/R9", R"({"recipeTypeName":"A","values":{}})").succeeded());
    EXPECT_TRUE(edited.move("R/F/R0 > R/F/R5").succeeded()) << "to the end of the paths, not of the tree";
    EXPECT_TRUE(edited.move("T/A/members/m > T/A/members/k").succeeded());
    EXPECT_EQ(edited.state(), "A(n,k) | F/R1:A(k=1) F/R5:A(k=0) R2:A(k=2) R4:A(k=4) R9:A()");
}

TEST(Edits, report_what_else_changed)
{
    EditedProject edited("A(m) B<A>() | R1:A(m=1) R2:B()");
    auto const text = [](EditReport const& report)
    {
        std::string steps;
        for (auto const& step : report.cascade)
        {
            steps += (step.removed ? "-" : "+") + step.path + " ";
        }
        return steps;
    };
    EXPECT_EQ(text(edited.move("T/A > T/C")),
              "+recipeTypeList::B::recipeTypeNames::0 +recipeList::R1::recipeTypeName ");
    EXPECT_EQ(text(edited.move("T/C >")), "-recipeTypeList::B::recipeTypeNames::0 -recipeList::R1 ");
    EXPECT_EQ(text(edited.set("R/R2/values/m", "5")), "");
}

TEST(Edits, set_makes_what_is_missing_and_tells_the_extension)
{
    EditedProject edited("A(m) | R1:A(m=1)");
    EXPECT_TRUE(edited.set("T/F/G/B/members/n", R"({"symbol":"n"})").succeeded());
    EXPECT_TRUE(edited.set("R/F/R2", R"({"recipeTypeName":"F::G::B","values":{"n":2}})").succeeded());
    EXPECT_TRUE(edited.set("R/R1/values/m", "7").succeeded());
    EXPECT_TRUE(edited.set("R/F/G", R"({"R3":{"recipeTypeName":"A","values":{}}})").succeeded());
    auto const* const expected = "A(m) F/G/B(n) | R1:A(m=7) F/R2:F/G/B(n=2) F/G/R3:A()";
    EXPECT_EQ(edited.state(), expected);
    EXPECT_EQ(edited.listed_recipes(), "F::G::R3,F::R2,R1");
    EXPECT_TRUE(edited.move("T/F/G/B > T/B").succeeded()) << "its path is known";
    edited.reopen();
    EXPECT_EQ(edited.state(), "A(m) F/G/ B(n) | R1:A(m=7) F/R2:B(n=2) F/G/R3:A()");

    EXPECT_TRUE(edited.project->set("Line", "other", Value(1)).succeeded());
    EXPECT_EQ(name(edited.project->set("Line", "variables::k", Value(1)).error), "INVALID_PATH") << "ravik.json has it";
    EXPECT_EQ(name(edited.project->rename("Line", "other", "variables", {}).error), "INVALID_PATH");
}

TEST(Edits, import_merges_or_replaces)
{
    EditedProject edited("A(m) F/B(n) | R1:A(m=1) F/R2:A()");
    ImportOptions options;
    std::size_t calls = 0;
    options.progress = [&calls](std::size_t done, std::size_t total)
    {
        ++calls;
        EXPECT_EQ(done, calls);
        EXPECT_EQ(total, 7U);
    };
    EXPECT_TRUE(edited.import("F/C(o) | R1:A(m=2) F/R3:F/C()", options).succeeded()) << "the type comes with the file";
    EXPECT_EQ(calls, 7U) << "both lists, two folders, three entries";
    EXPECT_EQ(edited.state(), "A(m) F/B(n) F/C(o) | R1:A(m=2) F/R2:A() F/R3:F/C()");
    EXPECT_EQ(edited.listed_recipes(), edited.stored_recipes());

    auto const state = edited.state();
    ImportOptions dry;
    dry.dry_run = true;
    EXPECT_TRUE(edited.import("D(o) |", dry).succeeded());
    auto const report = edited.import("F() G(y@G) A(m) | R5:nobody(m=1) R1:A(m=x) F:A() R6:A(m=3)", dry);
    std::string refused;
    for (auto const& entry : report.refused)
    {
        refused += entry.path + "=" + name(entry.error) + " ";
    }
    EXPECT_EQ(refused, "recipeTypeList::F=TYPE_MISMATCH recipeList::R5=TYPE_MISSING recipeList::R1=TYPE_MISMATCH "
                       "recipeList::F=TYPE_MISMATCH ");
    EXPECT_EQ(edited.import("A/X(m) |").path, "recipeTypeList::A") << "a folder over an entry";
    EXPECT_EQ(edited.state(), state);

    ImportOptions replace;
    replace.replace = true;
    EXPECT_EQ(name(edited.import("| R1:A(m=1)", replace).error), "TYPE_MISSING") << "the types go";
    EXPECT_EQ(edited.state(), state);
    EXPECT_TRUE(edited.import("Z(m) | R7:Z(m=1)", replace).succeeded());
    EXPECT_EQ(edited.listed_recipes(), "R7");
    edited.reopen();
    EXPECT_EQ(edited.state(), "Z(m) | R7:Z(m=1)");
}

TEST(Edits, a_store_that_fails_leaves_everything_as_it_was)
{
    EditedProject edited("A(m) | R1:A(m=1)");
    auto const before = edited.state();
    auto const limit_of = [](rlim_t bytes)
    {
        signal(SIGXFSZ, SIG_IGN); // NOLINT: there is nothing to fail
        rlimit const limit{.rlim_cur = bytes, .rlim_max = RLIM_INFINITY};
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    };
    limit_of(std::filesystem::file_size(edited.folder.path() / "ravik.db-wal"));
    auto const report = edited.move("T/A > T/C");
    limit_of(RLIM_INFINITY);
    EXPECT_EQ(name(report.error), "STORAGE_STORE") << report.text;
    EXPECT_FALSE(report.made);
    EXPECT_EQ(edited.state(), before);
    EXPECT_EQ(name(edited.set("R/R1/values/m", "2").error), "STORAGE");
    EXPECT_EQ(name(edited.move("R/R1 >").error), "STORAGE");
    EXPECT_EQ(name(edited.import("B() |").error), "STORAGE");
    edited.reopen();
    EXPECT_EQ(edited.state(), before);
    EXPECT_TRUE(edited.move("T/A > T/C").succeeded());
}

TEST(Edits, dangling_references_are_listed)
{
    struct Case
    {
        char const* configuration;
        char const* dangling;
    };
    std::initializer_list<Case> const cases = {
        {"A(m) B<A>(k@A) | R1:A(m=1) R2:B(m=2,k=R1)", ""},
        {"B<A>() |", "inherited type recipeTypeList::B::recipeTypeNames[0] recipeTypeList::A;"},
        {"F/B<X,F/B>() |", "inherited type recipeTypeList::F::B::recipeTypeNames[0] recipeTypeList::X;"},
        {"B(k@A) |", "nested type recipeTypeList::B::members::k::recipeType recipeTypeList::A;"},
        {"A(k@A/X) |", "nested type recipeTypeList::A::members::k::recipeType recipeTypeList::A::X;"},
        {"A(m) | R1:A(n=1)", "member recipeList::R1::values::n recipeTypeList::A::members::n;"},
        {"A(m) B(k@A) | R1:B(k=R2)", "nested recipe recipeList::R1::values::k recipeList::R2;"},
        {"A(m) B(k@A) | R1:B(k=)", ""},
        {"A(m) B(k@A) C<B>() | R1:C(k=R2,m=1)", "nested recipe recipeList::R1::values::k recipeList::R2;"},
        {"A(m) B(k@A) | F/R1:B(A=F)", "nested recipe recipeList::F::R1::values::A recipeList::F;"},
    };
    for (auto const& expected : cases)
    {
        std::string found;
        auto const references = read_references(Testing::configuration(expected.configuration),
                                                [](Reference const& reference) { return !reference.found; });
        for (auto const& reference : references)
        {
            found += std::string(to_text(reference.kind)) + " " + reference.holder + " " + reference.target + ";";
        }
        EXPECT_EQ(found, expected.dangling) << expected.configuration;
    }
    EditedProject edited("A(m) B<A>() | R1:A(m=1)");
    EXPECT_TRUE(edited.project->dangling_references(edited.domain).empty());
    edited.set("T/B/recipeTypeNames", R"(["Nobody"])");
    EXPECT_EQ(edited.project->dangling_references(edited.domain).size(), 1U);
}

} // namespace
} // namespace Ravik
