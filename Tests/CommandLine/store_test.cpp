#include "CommandLine/Shell.h"

#include <gtest/gtest.h>

namespace Ravik::Test
{

namespace
{

/// A project whose recipes R0 to R99 fill several pages of the store; R7 holds a text that begins with "<7x".
class StoreCommands : public testing::Test
{
protected:
    StoreCommands()
    {
        std::string recipes;
        for (int number = 0; number < 100; ++number)
        {
            recipes.append(recipes.empty() ? "\"R" : ",\"R").append(std::to_string(number));
            recipes.append(R"(":{"recipeTypeName":"Dough","values":{"Note":"<)").append(std::to_string(number));
            recipes.append(300, 'x').append("\"}}");
        }
        shell.write("more.json", R"({"recipeList":{)" + recipes + "}}");
        shell.expect({"ravik init && ravik import recipes.json && ravik import more.json", 0, {"100 recipes"}, {}});
    }

    /// A line that empties the page of the store in which the recipe stands.
    static std::string empty_page_of(std::string const& number)
    {
        return "dd if=/dev/zero of=ravik.db bs=4096 count=1 conv=notrunc status=none seek=$(($(grep -abo '<" + number +
               "x' ravik.db | head -n 1 | cut -d: -f1) / 4096))";
    }

    Shell shell;
};

TEST_F(StoreCommands, look_after_a_store_that_is_whole)
{
    for (auto const& line : {
             Line{"ravik store check", 0, {"The store is whole: 105 rows."}, {}},
             Line{"ravik store repair", 0, {"nothing to repair"}, {}},
             Line{"ravik store backup --force b.db", 0, {"b.db"}, {}},
             Line{"ravik store restore b.db", 0, {"105 rows"}, {}},
             Line{"ravik store backup b.db", 1, {}, {"--force replaces it"}},
             Line{"ravik store backup --force ravik.db", 1, {}, {"it is the store itself"}},
             Line{"ravik store backup no/such/b.db", 1, {}, {"no/such/b.db"}},
             Line{"ravik store restore c.db", 1, {}, {"c.db does not exist"}},
             Line{"ravik store restore ravik.db", 1, {}, {"is the store itself"}},
             Line{"ravik store restore ravik.json", 1, {}, {"ravik.json is not restored", "no SQLite database"}},
             Line{"ravik store check b.db", 2, {}, {"one too many"}},
             Line{"ravik store restore", 2, {}, {"ravik store restore FILE"}},
             Line{"ravik store chek", 2, {}, {"'store check'"}},
             Line{"ravik store check --project no", 3, {}, {"holds no project"}},
             Line{"ravik store restore b.db --project no", 3, {}, {"holds no project"}},
         })
    {
        shell.expect(line);
        auto of_json = line;
        of_json.out = {};
        shell.expect_json(of_json);
    }
    shell.expect({"ravik delete recipeList::R5 && ravik store restore b.db", 1, {"R5"}, {"--force replaces it"}});
    shell.expect({"ravik store restore --force b.db && ravik get recipeList::R5", 0, {"105 rows", "<5x"}, {}});
    shell.expect({"rm ravik.db && ravik store check", 3, {}, {"there is no store"}});
}

TEST_F(StoreCommands, tell_damage_and_keep_what_can_be_had)
{
    struct Case
    {
        std::string damage;
        std::string fault;
        /// What repairing prints, or the message with which it is refused, and what `kept` then lists.
        std::string repaired;
        std::string refused;
        char const* kept;
        char const* lost;
    };
    shell.expect({"ravik store backup b.db", 0, {"b.db"}, {}});
    for (auto const& each : {
             Case{": >ravik.db", "it has no bytes", "", "no row of it can be had", "", ""},
             Case{"head -c 5000 b.db >ravik.db", "malformed", "", "no row of it can be had", "", ""},
             Case{"printf X | dd of=ravik.db conv=notrunc status=none", "no SQLite database", "", "no row", "", ""},
             Case{"sed -i 's/<50x/<51x/' ravik.db", "\"recipeList::R50\"", "rows that are whole, 104", "", "R51",
                  "R50"},
             Case{"truncate -s 36864 ravik.db", "malformed", "rows that are whole", "", "R9", "R99"},
             Case{empty_page_of("50"), "rows are lost", "rows that are whole", "", "R99", "R50"},
             // The rows between the two are found by the index.
             Case{empty_page_of("20") + "; " + empty_page_of("70"), "rows are lost", "whole", "", "R45", "R70"},
         })
    {
        SCOPED_TRACE(each.damage);
        shell.expect({"rm -f ravik.db* && cp b.db ravik.db && " + each.damage, 0, {}, {}});
        shell.expect({"ravik store check", 1, {each.fault}, {"the store is damaged"}});
        shell.expect({"ravik symbols", 3, {}, {"ravik.db"}});
        if (each.repaired.empty())
        {
            shell.expect({"ravik store repair", 1, {}, {each.refused}});
            continue;
        }
        shell.expect({"ravik store repair", 0, {each.repaired, each.fault, "ravik.db.damaged-1"}, {}});
        shell.expect({"ravik store check", 0, {"whole"}, {}});
        shell.expect({"ravik get recipeList::" + std::string(each.kept), 0, {"Dough"}, {}});
        shell.expect({"ravik get recipeList::" + std::string(each.lost), 1, {}, {"ENTRY_NOT_FOUND"}});
        shell.expect({"ravik store restore --force b.db && ravik store check", 0, {"105 rows"}, {}});
    }
}

} // namespace

} // namespace Ravik::Test
