#include "CommandLine/Shell.h"
#include "Support/RecipeNotation.h"
#include "Json/Json.h"

#include "Controllers/Modbus/ScriptedDevice.h"

#include <gtest/gtest.h>

namespace Ravik::Test
{

namespace
{

/// The sample project with its recipes.
class SampleProject : public testing::Test
{
protected:
    SampleProject() { shell.expect({"ravik init && ravik import recipes.json", {"1 recipe type and 2 recipes"}}); }

    Shell shell;
};

TEST_F(SampleProject, activates_recipes_and_shows_what_was_written)
{
    shell.expect_both({
        {"ravik activate Bread", {"Mixer.Speed", "120.0", "24.0", "verified", "4 symbols written in 1 domain"}},
        {"ravik activate Bred", {"No symbol was written"}, {"ACTIVATING_FAILED", "did you mean 'Bread'?"}},
        {R"(ravik call ActivateRecipe '{"path": "Pizza"}')", {"ActivateRecipe: done"}},
        {"ravik call ActivateRecipe '[1]'", {}, {"INVALID_WRITEVALUE"}},
        {"ravik call ActivateRecipe --domain Mixr", {}, {"did you mean the domain 'Mixer'?"}},
        {"ravik symbol get Mixer.Product", {"\"Pizza\"\n"}},
    });
    auto const json = shell.run("ravik --json activate Bred");
    EXPECT_NE(json.out.find(R"("name":"ACTIVATING_FAILED")"), std::string::npos) << json.out;
}

TEST_F(SampleProject, marks_the_symbols_that_could_not_be_written)
{
    shell.expect({R"(sed -i 's/"Ready"\]/"Speed"]/' ravik.json)"});
    shell.expect({"ravik activate Bread",
                  {"WRITE_PROTECTED", "3 of 4 symbols written in 1 domain, 1 failed."},
                  {"ACTIVATING_RECIPE_PARTLY_FAILED", "Mixer.Speed"}});
    // Nothing of a group is sent where one value of it does not fit.
    shell.expect({"sed -i 's/300 }/100 }/' ravik.json; ravik --json activate Bread",
                  {R"("failed":1,"not tried":3,"not written":0})", R"("value":480,"after":null,"state":"not tried")"},
                  {"RANGE_MISMATCH"}});
    shell.expect({R"(sed -i 's/"Mixer.Speed":/"Mixer.Pace":/' ravik.json; ravik update Bread)",
                  {"failed"},
                  {"SYMBOL_NOT_MAPPED", "Mixer.Speed"}});
}

TEST_F(SampleProject, reads_and_writes_symbols)
{
    shell.expect_both({
        {"ravik symbols", {"SYMBOL", "number 0..300", "UINT", "Mixer.Temperature  Mixer   Temperature  REAL"}},
        {"ravik symbol set Mixer.Temperature -5", {"Mixer.Temperature = -5"}},
        {"ravik --json symbol get Mixer.Temperature", {R"("value":-5.0})"}},
        {"ravik symbol set Mixer.Ready false", {}, {"Mixer.Ready (domain Mixer): WRITE_PROTECTED"}},
        {"ravik symbol set Mixer.Speed 301", {}, {"Mixer.Speed (domain Mixer)", "RANGE_MISMATCH"}},
        {"ravik symbol get Mixer.Speed Mixer.Ready Mixer.Speed", {"\"Mixer.Speed\": 0.0,\n  \"Mixer.Ready\": true"}},
        {"ravik symbol get Mixer.Speed Nothing", {R"("Mixer.Speed": 0.0)"}, {"Nothing (no such symbol)"}},
    });
}

TEST_F(SampleProject, may_have_variables_of_the_servers_own)
{
    shell.expect_all({
        {R"(sed -i 's/"symbols": {/&"Own": {"DOMAIN": "RavikSrv"},/' ravik.json; ravik symbol set Own 7)", {"Own = 7"}},
        {"ravik check", {"Nothing is wrong"}},
        {R"(sed -i 's/"DOMAIN": "RavikSrv"/&, "SCHEMA": {"type": "string"}/' ravik.json; ravik check)",
         {"Own: the server's own variable: 7 is not of type string"},
         {"1 thing is wrong"}},
    });
}

TEST_F(SampleProject, keeps_its_configuration_through_export_and_import)
{
    shell.expect_both({
        {"ravik get recipeList::Bread::values", {R"("Speed": 120.0)"}},
        {"ravik --domain Mixer get writeProtected", {"Ready"}},
        {"ravik get recipeList::Nothing", {}, {"ENTRY_NOT_FOUND"}},
        {"echo '{}' | ravik import -", {}, {"recipeTypeList"}},
        {"echo mine >taken; ravik export taken", {}, {"taken: the file exists already", "--force"}},
        {"grep -q mine taken && ravik export --force taken && echo mine >taken",
         {"1 recipe type and 2 recipes to taken"}},
    });
    shell.expect({"ravik export >a && ravik export - >b && ravik export c && cmp a b && cmp a c", {"Exported"}});
    shell.expect({"ravik init other && ravik export | ravik --project other import - && ravik --project other export d"
                  " && cmp a d && ls -A | grep -c '^.ravik-'",
                  {"Imported 1 recipe type and 2 recipes", "0\n"},
                  {},
                  1});
    shell.expect({"ln -s c link && chmod 640 c && ravik export --force link && test -L link && stat -c %a c", {"640"}});
}

TEST_F(SampleProject, aligns_tables_by_what_a_terminal_shows)
{
    shell.write("ravik.json", R"({"extensions": [{"domain": "M", "library": "libRavikSimulation.so",
        "configuration": {"variables": {"Tür": 1, "混合": 2, "e": "a\u001b[31m\nb"}}}],
        "symbols": {"Tür": {"DOMAIN": "M"}, "混合": {"DOMAIN": "M"}, "e": {"DOMAIN": "M"}}})");
    auto const ended = shell.run("ravik symbols");
    EXPECT_EQ(ended.status, 0) << ended.err;
    for (auto const* const line : {"Tür     M       Tür      any   1", "混合    M       混合     any   2",
                                   R"(e       M       e        any   "a\u001b[31m\nb")"})
    {
        EXPECT_NE(ended.out.find(line), std::string::npos) << line << "\n" << ended.out;
    }
    EXPECT_EQ(ended.out.find(" \n"), std::string::npos) << "a line ends in blanks";
    EXPECT_EQ(ended.out.find('\x1b'), std::string::npos) << "colours without a terminal";
}

TEST_F(SampleProject, that_is_broken_is_named_with_the_place)
{
    shell.write("ravik.json", "{\n  \"extensions\": [],\n  \"symbol\": {}\n}\n");
    shell.expect_both({{"ravik symbols", {}, {"ravik.json:3:3: "}, 3}});
    shell.write("ravik.json", "{\n");
    shell.expect_both({{"ravik get", {}, {"ravik.json:2:1: "}, 3}});
}

TEST(SilentDevice, is_waited_for_once_whatever_asks_for_all_recipes)
{
    ScriptedDevice device([](ScriptedDevice& /*self*/, ScriptedDevice::Request const& /*request*/)
                          { return ScriptedDevice::Bytes(); });
    Shell shell;
    shell.write("ravik.json", R"({"extensions": [
        {"domain": "RavikRecipeManagement", "library": "libRavikRecipeManagement.so"},
        {"domain": "Line", "library": "libRavikModbus.so",
         "configuration": {"host": "127.0.0.1", "timeoutMs": 100, "port": )" +
                                  std::to_string(device.port()) + R"(}},
        {"domain": "Tank", "library": "libRavikSimulation.so", "configuration": {"variables": {"Level": 5}}}],
        "symbols": {
            "Speed": {"DOMAIN": "Line", "MAPPING": "holding:100:int16",
                      "SCHEMA": {"$ref": "ravik:general#/definitions/INT"}},
            "Level": {"DOMAIN": "Tank", "SCHEMA": {"$ref": "ravik:general#/definitions/INT"}}}})");
    shell.write("recipes.json",
                Json::write(configuration_of("T { Speed } U { Level } | " + repeated(20, "R#:T { Speed=1 } ") +
                                             "Full:U { Level=5 }")));
    shell.expect({"ravik import recipes.json", {"21 recipes"}});

    shell.expect({"ravik active",
                  {"Full\n"},
                  {"R0: READ_FROM_TARGET_PARTLY_FAILED: ", "R19: READ_FROM_TARGET_PARTLY_FAILED: ", "TIMEOUT"}});
    EXPECT_EQ(device.connections(), 1);
    EXPECT_EQ(device.requests(), "3@100x1");
}

} // namespace

} // namespace Ravik::Test
