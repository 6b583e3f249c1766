#include "CommandLine/Shell.h"

#include <gtest/gtest.h>

namespace Ravik::Test
{

namespace
{

TEST(HistoryCommands, list_show_and_take_back)
{
    Shell const shell;
    auto const* const speed = "recipeList::Filling::Cola1500::values::FillerSpeed";
    auto const set = std::string("ravik set ") + speed;
    shell.expect_all({
        {"cp " RAVIK_EXAMPLES "/plant/*.json . && ravik history", {"There are no such records."}},
        {"ravik import recipes.json --note 'as delivered' >out && " + set + " 241 >out && ravik history",
         {"NUMBER  TIME ", "done     set recipeList::Filling::Cola1500::values::FillerSpeed 241\n1 ",
          "import recipes.json                                         as delivered\n"}},
        {"ravik history show 2", {"Record 2, 2", "PLACE ", std::string(speed) + "  240     241\n"}},
        {"ravik --json history --limit 1",
         {R"({"counts":{"done":1},"rows":[{"id":2,)", R"("action":"edit","asked":"set recipeList)",
          R"("outcome":"done","text":"","note":""}]})"}},
        {"ravik --json history show 2",
         {R"("body":{"places":[{"domain":"RavikRecipeManagement","path":"recipeList)",
          R"("before":240,"after":241}]})"}},
        {"ravik revert 1", {}, {"recipeList::Filling::Cola1500: has changed since"}},
        {"ravik revert --dry-run 2", {std::string("would write  ") + speed, "Nothing was changed."}},
        {"ravik revert 2 --note 'too fast'", {std::string("wrote   ") + speed, "Took back what record 2 tells."}},
        {"ravik history --limit 1", {"revert 2  too fast\n"}},
        {"ravik --json revert 3", {R"("value":{"written":["recipeList::Filling::Cola1500::)", R"("removed":[])"}},
        {"ravik update --all --note fair >out; ravik history --recipe Filling::Cola1500",
         {"\n4 ", "\n3 ", "\n2 ", "\n1 "}},
        {"ravik history --since '1 hour' --who \"$(id -un)\" --limit 1", {"\n4 "}},
        {"ravik history --since 2199-12-31", {"There are no such records."}},
        {"ravik store check", {"47 rows, 4 records of the history."}},
        {R"(sed -i '1a "history": {"size": "1 KiB"},' ravik.json && )" + set +
             " 242 --note \"$(printf '%1000s' x)\" >out && ravik history --json",
         {R"("counts":{"done":1},"rows":[{"id":5,)"}},
    });
    shell.expect_both({
        {"ravik history show 4", {}, {"the history has no record 4; 'ravik history' lists"}},
        {"ravik revert 99", {}, {"the history has no record 99"}},
        {"ravik revert first", {}, {"'first' is no number of a record"}, 2},
        {"ravik revert -- -1", {}, {"'-1' is no number of a record"}, 2},
        {"ravik history show 99999999999999999999", {}, {"is no number of a record"}, 2},
        {"ravik history shwo 3", {}, {"'shwo' is one too many"}, 2},
        {"ravik history --limit 0", {}, {"--limit takes a number of records above 0, not '0'"}, 2},
        {"ravik history --since 2026-02-30", {}, {"not '2026-02-30'"}, 2},
    });
}

} // namespace

} // namespace Ravik::Test
