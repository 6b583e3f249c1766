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
        // A history that is too small for what was imported can't give anything back.
        expect(R"(ravik init && sed -i '1a "history": {"size": "1 KiB"},' ravik.json && )" + import, 0, "100 recipes");
    }

    /// Runs the line and expects its status and, on either stream, the text.
    void expect(std::string const& line, int status, std::string const& text = "") const
    {
        SCOPED_TRACE(line);
        auto const ended = shell.run(line);
        EXPECT_EQ(ended.status, status) << ended.err;
        EXPECT_NE((ended.out + ended.err).find(text), std::string::npos) << ended.out << ended.err;
    }

    /// A line that empties the page of the store in which the recipe stands.
    static std::string empty_page_of(std::string const& number)
    {
        return "dd if=/dev/zero of=ravik.db bs=4096 count=1 conv=notrunc status=none seek=$(($(grep -abo '<" + number +
               "x' ravik.db | head -n 1 | cut -d: -f1) / 4096))";
    }

    std::string const import = "ravik import recipes.json && ravik import more.json";
    Shell shell;
};

TEST_F(StoreCommands, look_after_a_store_that_is_whole)
{
    struct Case
    {
        char const* arguments;
        int status;
        char const* text;
    };
    for (auto const& each : {
             Case{"check", 0, "The store is whole: 105 rows, "},
             Case{"repair", 0, "nothing to repair"},
             Case{"backup --force b.db", 0, "b.db"},
             Case{"restore b.db", 0, "105 rows"},
             Case{"backup b.db", 1, "--force replaces it"},
             Case{"backup --force ravik.db", 1, "it is the store itself"},
             Case{"backup no/such/b.db", 1, "no/such/b.db"},
             Case{"backup $(printf %05000d)", 1, "could not be written"},
             Case{"check --project $(printf %05000d)", 3, "File name too long"},
             Case{"restore c.db", 1, "c.db does not exist"},
             Case{"restore ravik.db", 1, "is the store itself"},
             Case{"restore ravik.json", 1, "ravik.json is not restored"},
             Case{"check --project no", 3, "'ravik init' makes"},
         })
    {
        expect("ravik store " + std::string(each.arguments), each.status, each.text);
        expect("ravik --json store " + std::string(each.arguments), each.status, "{\"result\":");
    }
    expect("ravik --json store check", 0, R"("value":{"rows":105,"records":2,"faults":[]})");
    expect("ravik delete recipeList::R5 && ravik store restore b.db", 1, "--force replaces it");
    expect("ravik store restore --force b.db && ravik get recipeList::R5", 0, "<5x");
    expect("rm ravik.db && ravik store check", 3, "there is no store");
}

TEST_F(StoreCommands, tell_damage_and_keep_what_can_be_had)
{
    struct Case
    {
        std::string damage;
        char const* fault;
        /// A recipe that repairing keeps, and one that is lost; none where nothing can be had.
        char const* kept;
        char const* lost;
    };
    expect("ravik store backup b.db", 0);
    for (auto const& each : {
             Case{": >ravik.db", "it has no bytes", nullptr, nullptr},
             Case{"printf X | dd of=ravik.db conv=notrunc status=none", "no SQLite database", nullptr, nullptr},
             Case{"sed -i 's/<50x/<51x/' ravik.db", "\"recipeList::R50\"", "R51", "R50"},
             Case{empty_page_of("50"), "rows are lost", "R99", "R50"},
             // The rows between the two are found by the index.
             Case{empty_page_of("20") + "; " + empty_page_of("70"), "rows are lost", "R45", "R70"},
         })
    {
        SCOPED_TRACE(each.damage);
        expect("rm -f ravik.db* && cp b.db ravik.db && " + each.damage, 0);
        expect("ravik store check", 1, each.fault);
        expect("ravik --json store check", 1, R"("name":"STORAGE")");
        expect("ravik symbols", 3, "ravik.db");
        if (each.kept == nullptr)
        {
            expect("ravik store repair", 1, "no row of it can be had");
            continue;
        }
        expect("ravik store repair", 0, each.fault);
        expect("ravik store check && ls", 0, "ravik.db.damaged-1");
        expect("ravik get recipeList::" + std::string(each.kept), 0);
        expect("ravik get recipeList::" + std::string(each.lost), 1, "ENTRY_NOT_FOUND");
        expect("ravik store restore --force b.db && ravik store check", 0, "105 rows");
    }
}

} // namespace

} // namespace Ravik::Test
