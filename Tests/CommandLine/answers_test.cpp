#include "CommandLine/Shell.h"

#include <gtest/gtest.h>

namespace Ravik::Test
{

namespace
{

/// In the sample project, with a variable of the server's own.
TEST(Answers, name_the_thing)
{
    struct Case
    {
        char const* line;
        int status;
        /// A text on either stream.
        char const* text;
    };
    Shell const shell;
    for (auto const& each : {
             Case{"ravik symbols", 3, "No such file or directory; 'ravik init' makes a project"},
             Case{R"(ravik init && sed -i 's/"symbols": {/&"Own": {"DOMAIN": "RavikSrv"},/' ravik.json)", 0, ""},
             Case{"ravik import recipes.json && ravik activate Bread", 0, "written"},
             // One recipe that can't be read does not hide the others.
             Case{"ravik active Bread Nothing", 1, "Bread\nerror: Nothing: MISSING_RECIPE_DATA"},
             Case{"ravik --json active Bread Nothing", 1, R"({"active":["Bread"],"unread":[{"recipe":"Nothing",)"},
             Case{"ravik get recipeList::::Bread", 1, "INVALID_PATH: recipeList::::Bread: the path has an empty"},
             Case{R"(ravik set recipeList::R '{"recipeTypeName":"No","values":{}}')", 1, "no recipe type \"No\""},
             Case{"ravik symbol set Own 7 && ravik check", 0, "Nothing is wrong"},
             Case{R"(sed -i 's/"DOMAIN": "RavikSrv"/&, "SCHEMA": {"type": "string"}/' ravik.json; ravik check)", 1,
                  "Own: the server's own variable: 7 is not of type string"},
         })
    {
        SCOPED_TRACE(each.line);
        auto const ended = shell.run(each.line);
        EXPECT_EQ(ended.status, each.status) << ended.err;
        EXPECT_NE((ended.out + ended.err).find(each.text), std::string::npos) << ended.out << ended.err;
    }
}

} // namespace

} // namespace Ravik::Test
