#include "CommandLine/Shell.h"
#include "Service/Client/ServedProject.h"

#include <gtest/gtest.h>

#include <csignal>
#include <regex>
#include <string>
#include <vector>

namespace Ravik::Test
{

namespace
{

/// A line of shell that has the project in the working directory served while `commands` run.
std::string served(std::string const& commands)
{
    // Its first message tells that it listens.
    return "mkfifo log; ravik serve --listen 127.0.0.1:0 2>log & service=$!; exec 9<log; read -r ready <&9; " +
           commands + "\nstatus=$?; kill $service; wait $service; rm log; exit $status";
}

/// What differs from run to run.
std::string without_times(std::string const& text)
{
    static std::regex const time("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:.]+Z|[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9:]+");
    return std::regex_replace(text, time, "TIME");
}

/// Commands that build on one another: edits, activations, what is remembered of them and taken back.
std::string const& day_of_work()
{
    static std::string const commands = R"(
ravik import recipes.json
ravik list
ravik import recipes.json --dry-run --json
ravik activate --dry-run Bread
ravik activate Bread --note first
ravik activate Bred
ravik --json activate Bread | tr -d ' '
ravik active Bread Nothing --json
ravik symbol set Mixer.Speed 99
ravik symbol set Mixer.Speed 301
ravik diff Bread
ravik diff Bread Pizza --json
ravik save Bread --as New::Rye
ravik set recipeList::New::Rye::values::Speed 1000
ravik set recipeList::New::Rye::values::Speed 7
ravik get recipeList::New::Rye
ravik copy recipeList::Bread recipeList::Copy
ravik rename --dry-run recipeTypeList::Dough recipeTypeList::Paste --json
ravik rename recipeTypeList::Dough recipeTypeList::Paste
ravik delete recipeTypeList::Paste::members::Speed
ravik update --all
ravik get --domain Mixer values
ravik read Bread
ravik recipes Paste
ravik delete recipeList::Copy
ravik history --since 2000-01-01 --recipe Bread
ravik history
ravik history show 2
ravik revert 9
ravik revert 2
ravik revert 2 --force
ravik export --csv Paste t.csv
sed 's/^Bread,/Third,/' t.csv | ravik import --csv Paste -
ravik call ActivateRecipe '{"path": "Pizza"}'
ravik call Nothing
ravik symbols
ravik symbol get Mixer.Speed Mixer.Ready Nix
ravik check
ravik completion bash 'ravik activate '
ravik store check
ravik history --limit 3 --json
ravik export -
)";
    return commands;
}

TEST(Commands, through_a_lasting_service_answer_as_without_one)
{
    Shell const alone;
    Shell const with;
    alone.expect({"ravik init >out.txt"});
    with.expect({"ravik init >out.txt"});
    auto const marked = [](std::string const& commands) {
        return std::regex_replace(commands, std::regex("\nravik (.*)"),
                                  "\necho \"== $$\"; ravik $1; echo \"status $?\"");
    };
    auto const commands = std::regex_replace(marked(day_of_work()), std::regex(R"(echo "== \$+")"), "echo ==");
    auto const expected = alone.run(commands);
    auto const ended = with.run(served(commands));
    EXPECT_EQ(without_times(ended.out), without_times(expected.out));
    EXPECT_EQ(without_times(ended.err), without_times(expected.err));
    EXPECT_NE(expected.out.find("status 1"), std::string::npos);
    EXPECT_NE(expected.out.find("New::Rye"), std::string::npos);
    // Nothing is left behind, and what stands in the store is the same.
    EXPECT_EQ(with.run("ls -A").out, alone.run("ls -A").out);
    EXPECT_EQ(with.run("ravik export").out, alone.run("ravik export").out);
}

TEST(Commands, that_need_the_store_to_themselves_name_who_has_it)
{
    Shell const shell;
    shell.expect({"ravik init >out.txt && ravik import recipes.json", {"2 recipes"}});
    auto const pid = "is open in another process (pid ";
    struct Case
    {
        char const* line;
        int status;
        char const* text;
    };
    for (auto const& [line, status, text] : {
             Case{"ravik store backup b.db", 0, "Wrote a copy of the store to b.db."},
             Case{"ravik store backup b.db", 1, "b.db: the file exists already; --force replaces it"},
             Case{"ravik store backup --force b.db && ravik store backup --force ravik.db", 1,
                  "it is the store itself"},
             Case{"ravik store backup --force ravik.db-wal", 1, "the store's own log"},
             Case{"ravik store backup none/b.db", 1, "none/b.db"},
             Case{"ravik store backup /dev/full/b.db", 1, "/dev/full/b.db"},
             Case{"ravik store check", 0, "The store is whole: 5 rows, 1 record"},
             Case{"ravik store restore b.db", 3, pid},
             Case{"ravik store repair", 3, pid},
             Case{"ravik serve --listen 127.0.0.1:0", 3, pid},
             Case{"ravik init", 1, "exists already"},
             Case{"ravik help get", 0, "ravik get"},
             Case{"ravik init other && ravik --project other symbols", 0, "Mixer.Speed"},
             Case{"rm -r other; sed -i 's/300 }/301 }/' ravik.json; ravik symbols", 0,
                  "warning: ravik.json has changed since the service was started; restart the service"},
             Case{"sed -i 's/301 }/302 }/' ravik.json; ravik store check", 0, "restart the service"},
             // The same content anew says the same.
             Case{"cp ravik.json c; cat c >ravik.json; rm c; ravik symbols 2>&1 | grep -c restart", 1, "0\n"},
             Case{"chmod 777 . && ravik symbols", 3, "--trust"},
             Case{"ravik --trust symbols && chmod 700 .", 0, "Mixer.Speed"},
         })
    {
        SCOPED_TRACE(line);
        auto const ended = shell.run(served(line));
        EXPECT_EQ(ended.status, status) << ended.err;
        EXPECT_NE((ended.out + ended.err).find(text), std::string::npos) << ended.out << ended.err;
    }
    // The backup is a store like any other, and its owner's alone.
    shell.expect({"stat -c %a b.db; ls -A | grep -c '^.ravik'; rm ravik.db; ravik store restore b.db && ravik get "
                  "recipeList::Bread::values::Speed",
                  {"600\n0\n", "5 rows", "120.0"}});
}

TEST(Commands, wait_for_the_service_as_for_the_lock_and_run_side_by_side)
{
    Shell const shell;
    shell.expect({"ravik init >out.txt && ravik import recipes.json", {"2 recipes"}});
    // Many at once, each of which is a connection; all of their edits are there.
    auto const many = shell.run(served("for i in 1 2 3 4 5 6 7 8; do ravik set recipeList::R$i "
                                       "'{\"recipeTypeName\":\"Dough\",\"values\":{}}' >o$i & pids=\"$pids $!\"; done; "
                                       "wait $pids; ravik list --match R | grep -c '  R'"));
    EXPECT_EQ(many.out, "8\n") << many.err;
    // Begun while somebody has the project whom nobody can ask yet.
    auto const waited =
        shell.run(served("mv ravik.sock hidden; ravik symbols; echo $?; ravik --wait 60 symbols >late & "
                         "late=$!; mv hidden ravik.sock; wait $late && head -n 2 late"));
    EXPECT_EQ(waited.out.substr(0, 8), "3\nSYMBOL") << waited.err;
    EXPECT_NE(waited.err.find("is open in another process"), std::string::npos) << waited.err;
}

TEST(Commands, that_are_interrupted_end_in_order_and_ones_that_are_killed_change_nothing)
{
    for (auto const signal : {SIGINT, SIGTERM, SIGKILL})
    {
        SCOPED_TRACE(signal);
        Shell const shell;
        ServedProject served;
        std::atomic<bool> was_stopped = false;
        std::atomic<bool> is_gone = false;
        served.project.on_get = [](std::string const& /*path*/) { return ConfigurationOutcome(); };
        served.project.on_activate = [&](std::string const& /*recipe*/, ActivationOptions const& options)
        {
            kill(std::stoi(content_of(served.folder() / "pid")), signal);
            while (!*options.stop && !is_gone)
            {
                std::this_thread::yield();
            }
            was_stopped = options.stop->load();
            ActivationReport report;
            report.error = RavikSrv::ErrorValue::INTERRUPTED;
            report.text = "interrupted after 1 of 2";
            return report;
        };
        served.start();
        auto const ended = shell.run("cd " + served.folder().string() + "; echo $$ >pid; exec ravik activate Full");
        is_gone = true;
        served.stop();
        EXPECT_EQ(was_stopped, signal != SIGKILL);
        EXPECT_EQ(ended.status, signal == SIGKILL ? 128 + SIGKILL : 1) << ended.err;
        EXPECT_EQ(ended.err.find("INTERRUPTED: interrupted after 1 of 2") != std::string::npos, signal != SIGKILL)
            << ended.err;
    }
}

} // namespace

} // namespace Ravik::Test
