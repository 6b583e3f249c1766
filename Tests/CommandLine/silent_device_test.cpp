#include "CommandLine/Shell.h"
#include "Support/RecipeNotation.h"
#include "Json/Json.h"

#include "Controllers/Modbus/ScriptedDevice.h"

#include <gtest/gtest.h>

namespace Ravik::Test
{

namespace
{

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
