#include "EditedProject.h"

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <sys/resource.h>

namespace Ravik::Test
{
namespace
{

using RavikSrv::Value;

/// A configuration, an edit, what the rehearsal says (nothing where the edit goes ahead), and the configuration after
/// it, with force where it is refused.
constexpr auto scenarios = std::to_array<std::array<std::string_view, 4>>({
    {"A { m } B(W,A) { n } N { k>A } W { } | R1:A { m=1 } R2:B { n=2 m=3 }", "T::A > T::C", "",
     "B(W,C) { n } N { k>C } W { } C { m } | R1:C { m=1 } R2:B { n=2 m=3 }"},
    {"F::A { m } F::B(F::A) { } X { k>F::B } | R1:F::A { m=1 } R2:F::B { }", "T::F > T::G", "",
     "X { k>G::B } G::A { m } G::B(G::A) { } | R1:G::A { m=1 } R2:G::B { }"},
    {"A { m n } B { m } | R1:A { m=1 n=2 } R3:B { m=1 } G::R2:A { m=3 }", "T::A::members::m > T::A::members::k", "",
     "A { n k:m } B { m } | R1:A { n=2 k=1 } R3:B { m=1 } G::R2:A { k=3 }"},
    {"N { m } A { k>N } | R1:N { m=1 } R2:A { k=R1 }", "R::R1 > R::F::X", "",
     "N { m } A { k>N } | R2:A { k=F::X } F::X:N { m=1 }"},
    {"N { m } A { k>N } | F::R1:N { m=1 } R2:A { k=F::R1 }", "R::F > R::G", "",
     "N { m } A { k>N } | R2:A { k=G::R1 } G::R1:N { m=1 }"},
    {"A { m } B(W,A) { n } N { k>A o } W { } | R1:A { m=1 } R2:B { n=1 m=2 } F::R3:A { }", "T::A >", "",
     "B(W) { n } N { o } W { } | R2:B { n=1 m=2 } F/"},
    {"F::A { m } F::B { } X(F::A) { k>F::B } | R1:F::A { m=1 }", "T::F >", "", "X { } |"},
    {"N { m } A { k>N } | R1:N { m=1 } R2:A { k=R1 }", "R::R1 >", "", "N { m } A { k>N } | R2:A { k= }"},
    {"A { m n } | R1:A { m=1 n=2 }", "T::A::members::m >", "", "A { n } | R1:A { m=1 n=2 }"},
    {"A { m } | R1:A { m=1 }", "R::R1::values::m >", "", "A { m } | R1:A { }"},
    {"N { m } | R1:N { m=1 } R10:N { m=2 } R2:N { }", "R::R1 > R::X", "",
     "N { m } | R10:N { m=2 } R2:N { } X:N { m=1 }"},
    {"A { m } F::B { } | R1:A { }", "T::F::B > T::B", "", "A { m } F/ B { } | R1:A { }"},
    // What the extension would get wrong.
    {"A { m } AB { n } C(A) { k>AB } | R1:A { m=1 } R2:AB { n=2 }", "T::A > T::X", "ENTRY_NOT_FOUND",
     "AB { n } C(A) { k>AB } X { m } | R1:A { m=1 } R2:AB { n=2 }"},
    {"A { m } AB { n } C(AB) { } N { k>AB } | R1:A { m=1 } R2:AB { n=2 }", "T::A >", "MULTIPLE_MATCHES",
     "AB { n } C { } N { } |"},
    {"F::A { m } F::B { n } C(F::A,F::B) { o } N { k>F::A } | R1:C { m=1 o=2 } R2:F::A { }", "T::F >",
     "ENTRY_NOT_FOUND", "C(F::B) { o } N { k>F::A } | R1:C { m=1 o=2 } R2:F::A { }"},
    {"F::A { m } F::B { n } C(F::A,F::B,W) { } W { } | R1:C { m=1 }", "T::F >", "MULTIPLE_MATCHES",
     "C(F::B) { } W { } | R1:C { m=1 }"},
    {"A { m } AB { m } | R1:A { m=1 } R2:AB { m=2 }", "T::AB::members::m > T::AB::members::k", "MULTIPLE_MATCHES",
     "A { m } AB { k:m } | R1:A { k=1 } R2:AB { k=2 }"},
    {"N { m } A { k>N } | R1:N { } R10:N { } R2:A { k=R1 } R3:A { k=R10 }", "R::R1 > R::X", "ENTRY_NOT_FOUND",
     "N { m } A { k>N } | R10:N { } R2:A { k=R1 } R3:A { k=R10 } X:N { }"},
    {"N { m } B { k>N } C(B) { } | R1:N { m=1 } R2:C { k=R1 }", "R::R1 > R::R9", "ENTRY_NOT_FOUND",
     "N { m } B { k>N } C(B) { } | R2:C { k=R1 } R9:N { m=1 }"},
    {"A { m n } | R1:A { n=1 } R2:A { m=1 }", "T::A::members::m > T::A::members::k", "ENTRY_NOT_FOUND",
     "A { n k:m } | R1:A { n=1 } R2:A { m=1 }"},
    {"A { m } B(A) { } | R1:A { m=1 } R2:B { m=2 }", "T::A::members::m > T::A::members::k", "ENTRY_NOT_FOUND",
     "A { k:m } B(A) { } | R1:A { k=1 } R2:B { m=2 }"},
    {"N { m } A { k>N } | R1:N { } R1x:N { } R2:A { k=R1x }", "R::R1 >", "MULTIPLE_MATCHES",
     "N { m } A { k>N } | R1x:N { } R2:A { k=x }"},
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

/// The configuration after each scenario, its refusal, its dry run, its force and a restart; and, where it went ahead,
/// that the extension knows every path: it lists all recipes, and carries a second move.
TEST(Edits, carry_every_reference_or_are_refused)
{
    for (auto const& [initial, move, refusal, final] : scenarios)
    {
        std::string const before(initial);
        std::string const edit(move);
        auto const after = state_of(std::string(final));
        SCOPED_TRACE(std::string(before).append(", ").append(edit));
        EditedProject edited(before);
        EXPECT_EQ(edited.state(), state_of(before)) << "as imported";
        auto const trial = edited.edit(edit, {.force = false, .dry_run = true});
        EXPECT_EQ(edited.state(), state_of(before)) << "a dry run changes nothing";
        auto report = edited.edit(edit);
        EXPECT_EQ(name(report.error), refusal.empty() ? "SUCCESS" : refusal) << report.text;
        EXPECT_EQ(name(trial.error), name(report.error));
        EXPECT_EQ(report.made, refusal.empty());
        if (!refusal.empty())
        {
            EXPECT_NE(report.text.find("--force"), std::string::npos) << report.text;
            EXPECT_EQ(edited.state(), state_of(before));
            report = edited.edit(edit, {.force = true, .dry_run = false});
            EXPECT_TRUE(report.made);
        }
        EXPECT_EQ(edited.state(), after);
        EXPECT_EQ(cascade(trial), cascade(report));
        if (refusal.empty())
        {
            auto const first = std::string("T::") + edited.get("recipeTypeList").begin().name();
            EXPECT_TRUE(edited.lists_all_recipes());
            expect_made(edited, {first + " > T::Q"});
            EXPECT_TRUE(edited.lists_all_recipes());
            expect_made(edited, {"T::Q > " + first});
        }
        auto const last = edited.state();
        edited.reopen();
        EXPECT_EQ(edited.state(), last) << "after a restart";
    }
}

/// The extension meets its paths in the order in which it was told of them, the rehearsal in that of the tree; where
/// that makes a difference the edit still comes out as rehearsed.
TEST(Edits, come_out_as_rehearsed_whatever_the_order_of_the_paths)
{
    EditedProject edited("A { m n } | F::R1:A { m=1 } R2:A { m=2 }");
    auto const member = "T::A::members::m > T::A::members::k";
    expect_made(edited, {R"(R::F::R3 = {"recipeTypeName":"A","values":{}})",
                         R"(R::R4 = {"recipeTypeName":"A","values":{"m":4}})"});
    EXPECT_EQ(edited.state(), state_of("A { m n } | F::R1:A { m=1 } F::R3:A { } R2:A { m=2 } R4:A { m=4 }"));
    EXPECT_EQ(name(edited.edit(member).error), "ENTRY_NOT_FOUND") << "ends at R3 in the tree";
    // R5 gets to the end of the paths, yet not of the tree.
    expect_made(edited, {"R::F::R3 >", R"(R::F::R0 = {"recipeTypeName":"A","values":{"m":0}})",
                         R"(R::R9 = {"recipeTypeName":"A","values":{}})", "R::F::R0 > R::F::R5", member});
    EXPECT_EQ(edited.state(),
              state_of("A { n k:m } | F::R1:A { k=1 } F::R5:A { k=0 } R2:A { k=2 } R4:A { k=4 } R9:A { }"));
}

TEST(Edits, report_what_else_changed)
{
    EditedProject edited("A { m } B(A) { } | R1:A { m=1 } R2:B { }");
    EXPECT_EQ(cascade(edited.edit("T::A > T::C")),
              "+recipeTypeList::B::recipeTypeNames::0 +recipeList::R1::recipeTypeName ");
    EXPECT_EQ(cascade(edited.edit("T::C >")), "-recipeTypeList::B::recipeTypeNames::0 -recipeList::R1 ");
    EXPECT_EQ(cascade(edited.edit("R >")), "");
    EXPECT_FALSE(edited.get("recipeList").isset());
}

TEST(Edits, set_makes_what_is_missing_and_tells_the_extension)
{
    EditedProject edited("A { m } | R1:A { m=1 }");
    expect_made(edited, {R"(T::F::G::B::members::n = {"symbol":"n","enabled":true})",
                         R"(R::F::R2 = {"recipeTypeName":"F::G::B","values":{"n":2}})", "R::R1::values::m = 7",
                         R"(R::F::G = {"R3":{"recipeTypeName":"A","values":{}}})"});
    EXPECT_EQ(edited.state(), state_of("A { m } F::G::B { n } | R1:A { m=7 } F::R2:F::G::B { n=2 } F::G::R3:A { }"));
    EXPECT_TRUE(edited.lists_all_recipes());
    expect_made(edited, {"T::F::G::B > T::B"});
    edited.reopen();
    EXPECT_EQ(edited.state(), state_of("A { m } F::G/ B { n } | R1:A { m=7 } F::R2:B { n=2 } F::G::R3:A { }"));

    EXPECT_TRUE(edited.project->set("Line", "other", Value(1)).succeeded());
    EXPECT_EQ(name(edited.project->set("Line", "variables::k", Value(1)).error), "INVALID_PATH") << "ravik.json has it";
    EXPECT_EQ(name(edited.project->rename("Line", "other", "variables", {}).error), "INVALID_PATH");
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
    EXPECT_TRUE(edited.lists_all_recipes());

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
    EXPECT_TRUE(edited.lists_all_recipes());
    edited.reopen();
    EXPECT_EQ(edited.state(), state_of("Z { m } | R7:Z { m=1 }"));
}

TEST(Edits, a_store_that_fails_leaves_everything_as_it_was)
{
    EditedProject edited("A { m } | R1:A { m=1 }");
    auto const before = edited.state();
    signal(SIGXFSZ, SIG_IGN); // NOLINT: there is nothing to fail
    auto const limit_of = [](rlim_t bytes)
    {
        rlimit const limit{.rlim_cur = bytes, .rlim_max = RLIM_INFINITY};
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    };
    limit_of(std::filesystem::file_size(edited.folder.path() / "ravik.db-wal"));
    EXPECT_EQ(name(edited.edit("T::A > T::C").error), "STORAGE_STORE");
    limit_of(RLIM_INFINITY);
    EXPECT_EQ(edited.state(), before);
    for (auto const* const edit : {"R::R1::values::m = 2", "R::R1 >", "+ B { } |"})
    {
        EXPECT_EQ(name(edited.edit(edit).error), "STORAGE") << edit;
    }
    edited.reopen();
    EXPECT_EQ(edited.state(), before);
    EXPECT_TRUE(edited.edit("T::A > T::C").succeeded());
}

TEST(Edits, dangling_references_are_listed)
{
    constexpr auto cases = std::to_array<std::array<char const*, 2>>({
        {"A { m } B(A) { k>A } | R1:A { m=1 } R2:B { m=2 k=R1 }", ""},
        {"B(A) { } |", "inherited type recipeTypeList::B::recipeTypeNames[0] recipeTypeList::A;"},
        {"A { k>A::X } |", "nested type recipeTypeList::A::members::k::recipeType recipeTypeList::A::X;"},
        {"A { m } | R1:A { n=1 }", "member recipeList::R1::values::n recipeTypeList::A::members::n;"},
        {"A { m } B { k>A } | R1:B { k= }", ""},
        {"A { m } B { k>A } C(B) { } | R1:C { k=R2 m=1 }", "nested recipe recipeList::R1::values::k recipeList::R2;"},
        {"A { m } B { k>A } | F::R1:B { A=F }", "nested recipe recipeList::F::R1::values::A recipeList::F;"},
    });
    for (auto const& [configuration, dangling] : cases)
    {
        std::string found;
        for (auto const& reference : read_references(configuration_of(configuration),
                                                     [](Reference const& reference) { return !reference.found; }))
        {
            found.append(to_text(reference.kind)).append(" ").append(reference.holder);
            found.append(" ").append(reference.target).append(";");
        }
        EXPECT_EQ(found, dangling) << configuration;
    }
    EditedProject edited("A { m } B(A) { } | R1:A { m=1 }");
    EXPECT_TRUE(edited.edit(R"(T::B::recipeTypeNames = ["Nobody"])").succeeded());
    EXPECT_EQ(edited.project->dangling_references(edited.domain).size(), 1U);
}

} // namespace
} // namespace Ravik::Test
