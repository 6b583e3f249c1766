#include "CommandLine/Shell.h"
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
    std::string recipes;
    for (int number = 10; number < 30; ++number)
    {
        recipes += R"("R)" + std::to_string(number) + R"(": {"recipeTypeName": "T", "values": {"Speed": 1}}, )";
    }
    shell.write("recipes.json", R"({"recipeTypeList": {
        "T": {"members": {"Speed": {"symbol": "Speed", "enabled": true}}},
        "U": {"members": {"Level": {"symbol": "Level", "enabled": true}}}}, "recipeList": {)" +
                                    recipes + R"("Full": {"recipeTypeName": "U", "values": {"Level": 5}}}})");
    shell.expect({"ravik import recipes.json", 0, {"21 recipes"}});

    shell.expect({"ravik active",
                  1,
                  {"Full\n"},
                  {"R10: READ_FROM_TARGET_PARTLY_FAILED: ", "R29: READ_FROM_TARGET_PARTLY_FAILED: ", "TIMEOUT"}});
    EXPECT_EQ(device.connections(), 1);
    EXPECT_EQ(device.requests(), "3@100x1");
}

} // namespace

} // namespace Ravik::Test
