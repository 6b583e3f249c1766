#include "CommandLine/Shell.h"

#include <gtest/gtest.h>

namespace Ravik::Test
{
namespace
{

/// What needs no database.
TEST(LibraryCommands, tell_what_is_missing)
{
    Shell const shell;
    ASSERT_EQ(shell.run("ravik init && ravik import recipes.json").status, 0);
    auto const id = std::string(32, 'f');
    struct Case
    {
        std::string line;
        int status;
        char const* text;
    };
    std::vector<Case> const without = {
        {"ravik library status", 0, "none"},
        {"ravik --json library status", 0, R"("state":"none")"},
        {"ravik library init", 1, "ravik.json names no library"},
        {"ravik library join", 1, "ravik.json names no library"},
        {"ravik library leave", 1, "has joined no library"},
        {"ravik history show " + id, 1, "no record of the edit"},
    };
    std::vector<Case> const unreachable = {
        {"ravik library status", 0, "not joined"},
        {"ravik list", 0, "'ravik library join'"},
        {"ravik set recipeList::Bread::values::Speed 1.5", 0, "not joined"},
        {"ravik library init", 1, "127.0.0.1:1"},
        {"ravik library join --ours --theirs", 2, "together"},
        {"ravik library join 'Line 1'", 1, "127.0.0.1:1"},
        {"ravik library join a b", 2, "one too many"},
        {"ravik get recipeList::Bread::values::Speed", 0, "1.5"},
    };
    auto const expect = [&shell](std::vector<Case> const& cases)
    {
        for (auto const& each : cases)
        {
            SCOPED_TRACE(each.line);
            auto const ended = shell.run(each.line);
            EXPECT_EQ(ended.status, each.status) << ended.err;
            EXPECT_NE((ended.out + ended.err).find(each.text), std::string::npos) << ended.out << ended.err;
        }
    };
    expect(without);
    ASSERT_EQ(
        shell.run(R"(sed -i '1a "library": {"postgresql": "host=127.0.0.1 port=1 dbname=r"},' ravik.json)").status, 0);
    expect(unreachable);
}

} // namespace
} // namespace Ravik::Test
