#include "RecipeNotation.h"

#include <gtest/gtest.h>

#include <chrono>

using namespace Ravik::Test;

namespace
{

std::string join(int count, char const* separator, auto const& part)
{
    std::string text;
    for (int i = 0; i < count; ++i)
    {
        text += (i == 0 ? "" : separator) + part(std::to_string(i), std::to_string(i + 1));
    }
    return text;
}

class BadData : public testing::Test, protected RecipeManagementFixture
{
};

} // namespace

// Without their bounds these would take hours and gigabytes; the limit leaves room for builds with sanitizers.
TEST_F(BadData, neither_stalls_nor_exhausts_a_request)
{
    std::string const too_large = " | ACTIVATING_FAILED | Server: REQUEST_TOO_LARGE";
    auto const nests_thrice = [](std::string const& i, std::string const& next)
    { return "T" + i + " { a>T" + next + " b>T" + next + " c>T" + next + " } "; };
    auto const inherits_all = [](std::string const& i, std::string const&)
    { return "T" + i + "(" + join(30, ",", [](auto const& k, auto const&) { return "T" + k; }) + ") { a:A } "; };
    auto const inherits_twice = [](std::string const& i, std::string const& next)
    { return "T" + i + "(T" + next + ",T" + next + ") { } "; };
    auto const names_itself = [](std::string const& i, std::string const&) { return "n" + i + ">U"; };
    auto const names_all = [](std::string const& i, std::string const&)
    {
        auto const entry = [](std::string const& k, std::string const&) { return "n" + k + "=R" + k; };
        return "R" + i + ":T { " + join(40, " ", entry) + " a" + i + "=" + i + " } ";
    };
    struct Case
    {
        std::string types;
        std::string recipes;
        std::string outcome;
    };
    Case const cases[] = {
        {"T { " + join(5, " ", names_itself) + " b:B=1 } U { a:A }", "R:T { n0=R n1=R n2=R n3=R n4=R a=1 }",
         "Line[A=1 B=1] RavikSrv[] | SUCCESS | "},
        {join(19, "", nests_thrice) + "T19 { a:A }", "R:T0 { }", too_large},
        {join(19, "", nests_thrice) + "T19 { }", "R:T0 { }", too_large},
        {join(12, "", nests_thrice) + "T12! { z:A=1 }", "R:T0 { }", "Line[] RavikSrv[] | SUCCESS | "},
        {join(30, "", inherits_all), "R:T0 { }", " | ACTIVATING_FAILED | Server: "},
        {join(15, "", inherits_twice) + "T15 { a:A=1 }", "R:T0 { }", "Line[A=1] RavikSrv[] | SUCCESS | "},
        {"T { " + join(40, " ", names_itself) + " } U { a7:A a39:B }", join(40, "", names_all) + "R:T { n0=R0 }",
         "Line[A=7 B=39] RavikSrv[] | SUCCESS | "},
    };
    for (auto const& [types, recipes, expected] : cases)
    {
        configure(types, recipes);
        auto const start = std::chrono::steady_clock::now();
        EXPECT_EQ(outcome("R"), expected);
        auto const seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        RecordProperty("seconds", std::to_string(seconds));
        EXPECT_LT(seconds, 20) << types.substr(0, 60);
    }
}
