#include "CommandLine/Shell.h"

#include <gtest/gtest.h>

#include <array>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Ravik::Test
{

namespace
{

TEST(AccessCommands, look_after_users)
{
    Shell const shell;
    shell.expect_all({
        {"ravik user list", {}, {"'ravik init' makes a project"}, 3},
        {"ravik init", {"ravik.json"}},
        {"ravik user list", {"0 users."}},
        {"echo 'correct horse' | ravik user add bert --role viewer", {}, {"the first user is an admin"}},
        {"echo 'correct horse' | ravik user add anna --role admin", {"Added the user anna, admin."}},
        {"printf 'horse correct' | ravik user add 'Bert B.' --role viewer", {"Bert B."}},
        {"ravik user list", {"NAME     ROLE    CREATED", "anna     admin   20", "2 users."}},
        {R"(stat -c %a ravik.users; stat -c %a ravik.users.lock)", {"600\n600"}},
        // No store is made for it, and nothing of a password is kept.
        {"test ! -e ravik.db && ! grep -e horse ravik.users"},
        {"grep users .gitignore", {"/ravik.users*"}},
    });
    shell.expect_both({
        {"ravik user add carl", {}, {"--role is missing", "viewer, operator, engineer, admin"}, 2},
        {"ravik user add carl --role boss", {}, {"not 'boss'"}, 2},
        {"ravik user add anna --role viewer </dev/null", {}, {"already", "'ravik user password'"}},
        {"ravik user add a:b --role viewer </dev/null", {}, {"no ':'"}},
        {"echo short | ravik user add carl --role viewer", {}, {"at least 8 characters"}},
        {"head -c 5000 /dev/zero | tr '\\0' x | ravik user add carl --role viewer", {}, {"at most 1024 bytes"}},
        {"ravik user password carl </dev/null", {}, {"no user 'carl'", "ravik user list"}},
        {"ravik user remove anna", {}, {"the last admin stays"}},
    });
    shell.expect_all({
        {"cp ravik.users before; echo 'another horse' | ravik user password anna", {"Gave anna another password."}},
        {"diff before ravik.users | grep -c '^>'", {"1"}},
        {"ravik --json user list", {R"("value":{"counts":{"users":2},"rows":[{"name":"anna","role":"admin",)"}},
        {"ravik --json user remove 'Bert B.'", {R"("value":{"name":"Bert B."})"}},
        {"ravik user list", {"1 user."}},
        {"ravik completion zsh 'ravik user remove '", {"anna\n"}},
        {"ravik completion bash 'ravik user add x --role '", {"viewer\noperator\nengineer\nadmin\n"}},
    });
}

TEST(AccessCommands, look_after_tokens)
{
    Shell const shell;
    shell.expect_all({
        {"ravik init", {"ravik.json"}},
        {"ravik token add panel --role operator --expires 3 | tail -n 1 >token", {}},
        {R"(grep -cxE 'ravik_[A-Za-z0-9_-]{43}' token; grep -cf token ravik.users)", {"1\n0"}, {}, 1},
        {"ravik --json token add planning --role viewer",
         {R"("value":{"name":"planning","role":"viewer","token":"ravik_)"}},
        {"ravik token list", {"panel     operator", "planning  viewer", "never", "2 tokens."}},
        {R"(sed -i 's/"expires": "[^"]*"/"expires": "2020-01-01"/' ravik.users; ravik --json token list)",
         {R"("counts":{"good":1,"expired":1})", R"("expires":"2020-01-01","state":"expired")"}},
        {"ravik completion zsh 'ravik token remove '", {"panel\nplanning\n"}},
        {"ravik token remove panel", {"Removed the token panel."}},
        {"ravik token list", {"1 token."}},
    });
    shell.expect_both({
        {"ravik token add x --role viewer --expires soon", {}, {"days above 0, not 'soon'"}, 2},
        {"ravik token add x --role viewer --expires 40000", {}, {"1 to 36500 days"}},
        {"ravik token add planning --role viewer", {}, {"already"}},
        {"ravik token remove panel", {}, {"no token 'panel'"}},
    });
}

/// Runs the program in the folder at a terminal of its own, types a line after each of its questions, and returns what
/// the terminal showed.
std::string shown_at_terminal(std::filesystem::path const& folder, std::vector<std::string> lines)
{
    int terminal = -1;
    auto const child = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0)
    {
        ::execl(RAVIK_PROGRAM_FOLDER "/ravik", "ravik", "--project", folder.c_str(), "user", "add", "anna", "--role",
                "admin", nullptr);
        ::_exit(127);
    }
    std::string shown;
    std::array<char, 1000> buffer{};
    for (auto size = ::read(terminal, buffer.data(), buffer.size()); size > 0;
         size = ::read(terminal, buffer.data(), buffer.size()))
    {
        shown.append(buffer.data(), static_cast<std::size_t>(size));
        if (shown.ends_with(": ") && !lines.empty())
        {
            EXPECT_GT(::write(terminal, lines[0].data(), lines[0].size()), 0);
            lines.erase(lines.begin());
        }
    }
    ::close(terminal);
    EXPECT_EQ(::waitpid(child, nullptr, 0), child);
    return shown;
}

TEST(AccessCommands, ask_a_terminal_twice_and_show_nothing)
{
    Shell const shell;
    shell.expect({"ravik init", {"ravik.json"}});
    struct Case
    {
        char const* what;
        std::vector<std::string> typed;
        std::vector<std::string> shown;
        bool is_added;
    };
    for (auto const& each : std::vector<Case>{
             {"Ctrl+C", {"correct ho\003"}, {"Password for anna: "}, false},
             {"something else", {"correct horse\n", "wrong horse\n"}, {"the two passwords differ"}, false},
             {"the same",
              {"correct horse\n", "correct horse\n"},
              {"Password for anna: ", "The same once more: ", "Added the user anna"},
              true},
         })
    {
        SCOPED_TRACE(each.what);
        auto const shown = shown_at_terminal(shell.folder(), each.typed);
        for (auto const& text : each.shown)
        {
            EXPECT_NE(shown.find(text), std::string::npos) << shown;
        }
        EXPECT_EQ(shown.find("ho"), std::string::npos) << shown;
        EXPECT_EQ(std::filesystem::exists(shell.folder() / "ravik.users"), each.is_added);
    }
}

TEST(AccessCommands, refuse_what_others_can_touch)
{
    Shell const shell;
    shell.expect_all({
        {"ravik init && ravik token add panel --role viewer", {"Added"}},
        {"chmod o+w . && ravik user list", {}, {"can be written by everybody", "--trust"}, 3},
        {"ravik --trust user list && chmod o-w .", {"0 users."}},
        {"chmod g+r ravik.users; ravik token list", {}, {"ravik.users: others can read or write it", "chmod 600"}},
        {"chmod g-r ravik.users; sed -i '$d' ravik.users; ravik token list", {}, {"ravik.users:", "mend it"}},
        {"echo 'correct horse' | ravik user add anna --role admin", {}, {"ravik.users:", "mend it"}},
    });
}

} // namespace

} // namespace Ravik::Test
