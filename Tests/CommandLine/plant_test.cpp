#include "CommandLine/Shell.h"

#include <gtest/gtest.h>

namespace Ravik::Test
{

namespace
{

/// The example plant with its recipes.
class Plant : public testing::Test
{
protected:
    Plant()
    {
        shell.expect({"cp " RAVIK_EXAMPLES "/plant/*.json . && ravik import recipes.json",
                      {"Imported 15 recipe types and 18 recipes."}});
    }

    Shell shell;
};

TEST_F(Plant, tells_what_stands_in_the_controllers)
{
    shell.expect_all({
        {"ravik active", {"No recipe is active."}},
        {"ravik activate Products::Cola1500", {"33 symbols written in 3 domains. 33 verified."}},
        {"ravik active", {"Filling::Cola1500\n", "Products::Cola1500\n"}},
        {"ravik active Products::Cola1500 Filling::Spring500", {"Products::Cola1500\n"}},
        {"ravik read Filling::Cola1500", {"Filler.Speed", "8 values as stored."}},
        {"ravik symbol set Filler.Speed 100 && ravik active Products::Cola1500", {"None of them is active."}},
        {"ravik read Filling::Cola1500", {"240           100                differs", "1 of 8 values differs."}},
        // REAL holds the nearest 32-bit float, which is the value as it is stored.
        {"ravik activate Products::Cola1500 >out; ravik symbol set Filler.Pressure 3.20000005; ravik active",
         {"Products::Cola1500\n"}},
        {"ravik symbol set Filler.Pressure 3.201 && ravik active", {"Capping::Pco28\n"}},
        {"ravik --json read Filling::Cola1500",
         {R"("counts":{"same":7,"differs":1,"nested recipe":0,"no member":0})",
          R"({"symbol":"Filler.Speed","domain":"Filler","member":"FillerSpeed","stored":240,"live":240,"state":"same")"}},
        {"ravik --json read Products::Cola1500", {R"("live":null,"state":"nested recipe")"}},
        {"ravik recipes Products::Batch", {"Products::Spring500\nProducts::Cola1500\n"}},
        {"ravik --json activate Products::Cola1500",
         {R"("counts":{"written":0,"verified":33,"differs":0,"failed":0,"not tried":0,"not written":0})",
          R"({"symbol":"Filler.Speed","domain":"Filler","member":"FillerSpeed","before":240,"value":240,"after":240,"state")"}},
        {"ravik symbol set Filler.Pressure 3.25 >out && ravik --json diff Products::Cola1500",
         {R"("value":{"counts":{"differs":1,"same":32,"unread":0},"rows":[{"symbol":"Filler.Pressure")"}},
        {"ravik diff Filling::Cola1500 Capping::Pco28", {"only in Filling::Cola1500", "only in Capping::Pco28"}},
    });
}

TEST_F(Plant, names_the_symbols_and_recipes_that_are_missing)
{
    shell.expect_all({
        {R"(ravik set recipeList::Products::Cola1500::values::Capping '"Capping::Gone"' && )"
         "ravik activate Products::Cola1500",
         {"symbols written"},
         {"recipeList::Products::Cola1500::values::Capping names the recipe 'Capping::Gone', which does not exist"},
         0},
        {R"(sed -i 's/"Filler.Speed"/"Filler.Pace"/' ravik.json; ravik activate Filling::Cola1500)",
         {"No symbol"},
         {"SYMBOL_NOT_MAPPED: ravik.json maps no symbol \"Filler.Speed\" (member FillerSpeed)"}},
        {"ravik read Filling::Cola1500", {}, {"maps no symbol \"Filler.Speed\""}},
        {"ravik active Filling::Cola1500", {}, {"maps no symbol \"Filler.Speed\""}},
        {"ravik import recipes.json", {}, {"SYMBOL_NOT_MAPPED", "Filler.Speed"}},
        {"ravik active", {"Labelling::Cola1500\n"}, {"Filling::Spring500: SYMBOL_NOT_MAPPED: ravik.json maps no"}},
        {"ravik --json active",
         {R"("text":"6 of 18 recipes can't be read; )",
          R"("unread":[{"recipe":"Filling::Cola1500","text":"SYMBOL_NOT)"},
         {"maps no symbol"}},
    });
}

TEST_F(Plant, brings_recipes_into_line_with_their_types)
{
    shell.expect_all({
        {"ravik update Filling::Cola1500", {"1 recipe: 0 updated, 1 that fit already."}},
        {"ravik delete recipeTypeList::Filling::Carbonated::members::SnifterTime", {"Deleted"}},
        {"ravik check", {"note: recipeList::Filling::Cola1500::values::SnifterTime: no member"}},
        {"ravik update Filling::Cola1500",
         {"recipeList::Filling::Cola1500::values::SnifterTime not found in recipeType: Deleted"}},
        {"ravik delete recipeList::Filling::Cola1500::values::DripTime && ravik update Filling::Cola1500",
         {"DripTime filled in: "}},
        {"ravik set recipeList::Packing::Crate24::values::Stray 1 && ravik read Packing::Crate24",
         {"Stray", "no member", "1 value stands for no member"}},
        {"ravik --json update --type Products::Batch",
         {R"("counts":{"updated":0,"same":3,"failed":0})",
          R"({"recipe":"Products::Cola1500","state":"same","text":"")"}},
        {"ravik update --all", {"Crate24", "updated", "Deleted", "18 recipes: "}},
        {"ravik update --type Nope", {}, {"no recipe type 'Nope'"}},
        {"ravik update Gone Packing::Crate24", {"Gone", "failed", "Packing::Crate24  same"}, {"error: Gone: UPDATING"}},
    });
}

TEST_F(Plant, carries_edits_through_and_refuses_wrong_ones)
{
    shell.expect_all({
        {"ravik rename --dry-run recipeList::Capping::Pco28 recipeList::Capping::Pco",
         {"would write  recipeList::Products::Cola1500::values::Capping", "Nothing was changed."}},
        {"ravik rename recipeList::Capping::Pco28 recipeList::Capping::Pco",
         {"wrote   recipeList::Products::Cola1500::values::Capping", "Renamed"}},
        {"ravik get recipeList::Products::Cola1500::values::Capping", {"\"Capping::Pco\"\n"}},
        {"ravik --json rename recipeTypeList::Packing recipeTypeList::Pack",
         {R"("recipeTypeList::Products::SoftDrink::members::Packing::recipeType")"}},
        {"ravik set recipeList::Filling::Cola1500::values::FillerSpeed '\"fast\"'",
         {},
         {"TYPE_MISMATCH", "recipeList::Filling::Cola1500"}},
        {"ravik --domain Filler set values::FillerSpeed 7 && ravik symbol get Filler.Speed", {"7"}},
        {"ravik --domain Filler set variables::FillerSpeed 7", {}, {"ravik.json"}},
        {"ravik check", {"Nothing is wrong."}},
        {R"(echo '{"recipeList": {"a": {"values": 1}, "b": {"recipeTypeName": "Nope", "values": {}}, "c::d": {}}}' | )"
         "ravik import --dry-run -",
         {},
         {"recipeList::a", "TYPE_MISSING: recipeList::b", "c::d"}},
    });
}

} // namespace

} // namespace Ravik::Test
