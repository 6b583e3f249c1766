#include "CommandLine/Shell.h"

#include "Support/RecipeNotation.h"
#include "Json/Json.h"

#include "Controllers/Modbus/ScriptedDevice.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>

namespace Ravik::Test
{

namespace
{

TEST(ActivateCommand, finds_out_what_a_controller_makes_of_a_value)
{
    Shell const shell;
    shell.expect({"ravik init && ravik import recipes.json", {"2 recipes"}});
    shell.expect_all({
        {"ravik activate --dry-run Bread", {"Mixer.Speed        Mixer   0.0", "differs", "4 of 4 symbols differ."}},
        {"ravik --json activate --dry-run Bread", {R"("counts":{"differs":4,"same":0,"unread":0})"}},
        {"ravik --json symbol get Mixer.Speed", {"0.0"}},
        {"ravik --json activate --no-verify Bread", {R"("counts":{"written":4,"verified":0)", R"("after":null)"}},
        {"ravik activate --dry-run Bread", {"0 of 4 symbols differ, 4 same."}},
        {R"(sed -i 's/"writeProtected"/"stuck": ["Speed"], "clamped": {"Temperature": [0, 22]}, &/' ravik.json)"
         " && ravik activate Pizza",
         {"150.0    differs: the controller holds 120.0", "4 symbols written in 1 domain. 2 verified, 2 differ."},
         {"FAIL: not everything stands as it should: Mixer.Speed (differs: the controller holds 120.0)"}},
        {"ravik --json activate Pizza", {R"({"result":257,"name":"FAIL")"}, {"Mixer.Temperature (differs: the"}},
        {R"(sed -i 's/definitions\/REAL" }/&, "TOLERANCE": 0.5/; s/0, "maximum": 300 }/&, "VERIFY": false/' ravik.json)"
         " && ravik activate Pizza",
         {"3 verified.", "150.0    written"}},
        {"ravik diff Pizza", {"Mixer.Speed  Speed   150.0", "1 of 4 symbols differs, 3 same."}},
        {"ravik diff Bread Pizza", {"Mixer.Temperature", "24.0", "22.5", "4 of 4 symbols differ."}},
        {R"(sed -i 's/"writeProtected"/"unreachable": true, &/' ravik.json; ravik activate --dry-run Pizza)",
         {"unread: UNREACHABLE", "0 of 4 symbols differ, 4 unread."},
         {"FAIL: not everything could be read: Mixer.Product (unread: UNREACHABLE"}},
        {"ravik --json diff Pizza", {R"("counts":{"differs":0,"same":0,"unread":4})"}, {"could be read"}},
        {"ravik activate Pizza", {"0 of 4 symbols written, 4 failed."}, {"UNREACHABLE"}},
    });
}

TEST(ActivateCommand, answers_wrong_uses_with_what_to_do_and_changes_nothing)
{
    Shell const shell;
    shell.expect({"ravik init && ravik import recipes.json && ravik activate Bread >out", {"2 recipes"}});
    auto const before = shell.run("ravik symbols && ravik export -").out;
    shell.expect_both({
        {"ravik activate", {}, {"an argument is missing: ravik activate RECIPE"}, 2},
        {"ravik activate Bread Pizza", {}, {"'Pizza' is one too many"}, 2},
        {"ravik activate Bread --note", {}, {"option --note needs a value: --note TEXT"}, 2},
        {"ravik activate Bread --no-verify=1", {}, {"--no-verify takes no value"}, 2},
        {"ravik activate Bread --dry-run --note x", {}, {"--dry-run writes nothing"}, 2},
        {"ravik activate Bread --dry-run --no-verify", {}, {"--dry-run writes nothing"}, 2},
        {"ravik activate Bread --force", {}, {"'activate' takes no option --force"}, 2},
        {"ravik activate Dough", {"No symbol was written."}, {"there is no recipe 'Dough'"}},
        {"ravik activate recipeList::Pizza", {"No symbol was written."}, {"did you mean 'Pizza'?"}},
        {"ravik activate --dry-run Piza", {"No symbol would be written."}, {"did you mean 'Pizza'?"}},
        {"ravik diff", {}, {"an argument is missing: ravik diff RECIPE [OTHER]"}, 2},
        {"ravik diff Brea", {}, {"ACTIVATING_FAILED", "did you mean 'Bread'?"}},
        {"ravik diff Bread Piza", {}, {"ACTIVATING_FAILED", "did you mean 'Pizza'?"}},
    });
    EXPECT_EQ(shell.run("ravik symbols && ravik export -").out, before);
}

/// A project of a Modbus device at the port, with the registers R0, R2, … and, in another domain, the variable Last.
std::string device_project(int registers, std::string const& port)
{
    std::string symbols = R"("Last": {"DOMAIN": "Tank", "SCHEMA": {"$ref": "ravik:general#/definitions/INT"}})";
    for (int index = 0; index < registers; ++index)
    {
        symbols += ",\"R" + std::to_string(index) + R"(": {"DOMAIN": "Line", "TOLERANCE": 2, "MAPPING": "holding:)" +
                   std::to_string(100 + 2 * index) +
                   R"(:int16", "SCHEMA": {"$ref": "ravik:general#/definitions/INT"}})";
    }
    return R"({"extensions": [
        {"domain": "RavikRecipeManagement", "library": "libRavikRecipeManagement.so"},
        {"domain": "Line", "library": "libRavikModbus.so", "configuration": {"host": "127.0.0.1", "port": )" +
           port + R"(}},
        {"domain": "Tank", "library": "libRavikSimulation.so", "configuration": {"variables": {"Last": 5}}}],
        "symbols": {)" +
           symbols + "}}";
}

std::string recipe_of(int registers)
{
    auto const members = repeated(registers, "R# ") + "Last";
    return Json::write(
        configuration_of("T { " + members + " } | Full:T { " + repeated(registers, "R#=* ") + "Last=1 }"));
}

TEST(ActivateCommand, ends_between_two_requests_where_it_is_interrupted)
{
    Shell const shell;
    ScriptedDevice device(
        [&](ScriptedDevice& self, ScriptedDevice::Request const& request)
        {
            if (request.function() != MODBUS_FC_READ_HOLDING_REGISTERS && request.address() == 102)
            {
                kill(std::stoi(content_of(shell.folder() / "pid")), SIGINT);
            }
            return self.right_answer(request);
        });
    shell.write("ravik.json", device_project(3, std::to_string(device.port())));
    shell.write("recipes.json", recipe_of(3));
    shell.expect_all({
        {"ravik import recipes.json", {"1 recipe"}},
        {"echo $$ >pid; exec ravik activate Full",
         {"written\n", "not tried\n", "2 of 4 symbols written in 1 domain, 2 not tried."},
         {"INTERRUPTED: interrupted after 2 of 4 symbols were written"}},
        {"ravik symbol get R0 R1 R2 Last", {"\"R0\": 1,\n  \"R1\": 2,\n  \"R2\": 104,\n  \"Last\": 5"}},
        {"ravik history show 2", {"activate Full", "failed"}},
    });
}

TEST(ActivateCommand, finds_out_the_example_device)
{
    Shell const shell;
    shell.write("ravik.json", device_project(3, "PORT"));
    shell.write("recipes.json", Json::write(configuration_of("T { R0 R1 R2 } | Full:T { R0=50 R1=52 R2=53 }")));
    shell.expect({"mkfifo port; modbus_device --keep 100-101 --highest 50 >port & read -r port <port;"
                  R"( sed -i "s/PORT/$port/" ravik.json; ravik import recipes.json >out; ravik activate Full;)"
                  " status=$?; kill $!; exit $status",
                  {"3 symbols written in 1 domain. 1 verified, 2 differ."},
                  {"R0 (differs: the controller holds 0), R2 (differs: the controller holds 50)"}});
}

} // namespace

} // namespace Ravik::Test
