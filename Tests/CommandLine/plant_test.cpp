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
                      0,
                      {"Imported 15 recipe types and 18 recipes."},
                      {}});
    }

    void expect_all(std::vector<Line> const& lines) const
    {
        for (auto const& line : lines)
        {
            shell.expect(line);
        }
    }

    Shell shell;
};

TEST_F(Plant, tells_what_stands_in_the_controllers)
{
    expect_all({
        {"ravik active", 0, {"No recipe is active."}, {}},
        {"ravik activate Products::Cola1500", 0, {"33 symbols written in 3 domains."}, {}},
        {"ravik active", 0, {"Filling::Cola1500\n", "Products::Cola1500\n"}, {}},
        {"ravik active Products::Cola1500 Filling::Spring500", 0, {"Products::Cola1500\n"}, {}},
        {"ravik read Filling::Cola1500", 0, {"Filler.Speed", "8 values as stored."}, {}},
        {"ravik symbol set Filler.Speed 100 && ravik active Products::Cola1500", 0, {"None of them is active."}, {}},
        {"ravik read Filling::Cola1500", 0, {"240           100                differs", "1 of 8 values differs."}, {}},
        // REAL holds the nearest 32-bit float, which is the value as it is stored.
        {"ravik activate Products::Cola1500 >out; ravik symbol set Filler.Pressure 3.20000005; ravik active",
         0,
         {"Products::Cola1500\n"},
         {}},
        {"ravik symbol set Filler.Pressure 3.201 && ravik active", 0, {"Capping::Pco28\n"}, {}},
        {"ravik --json read Filling::Cola1500", 0, {R"("recipeTypeName":"Filling::Carbonated")"}, {}},
        {"ravik recipes Products::Batch", 0, {"Products::Spring500\nProducts::Cola1500\n"}, {}},
        {"ravik recipes Products::Bach", 0, {"did you mean 'Products::Batch'?"}, {}},
        {"ravik read Products::Cola150", 1, {}, {"READ_FROM_TARGET_FAILED", "did you mean 'Products::Cola1500'?"}},
        {"ravik active Nothing", 1, {}, {"MISSING_RECIPE_DATA"}},
    });
}

TEST_F(Plant, one_recipe_that_cannot_be_read_does_not_hide_the_others)
{
    expect_all({
        {"ravik activate Products::Cola1500 >out && "
         "sed -i 's/\"writeProtected\": \\[\"WeightCal/\"unreachable\": true, &/' ravik.json && ravik active",
         1,
         {"Filling::Cola1500\n", "Capping::Pco28\n"},
         {"Packing::Shrink6: READ_FROM_TARGET_PARTLY_FAILED: Server: ", "UNREACHABLE"}},
    });
}

TEST_F(Plant, brings_recipes_into_line_with_their_types)
{
    expect_all({
        {"ravik update Filling::Cola1500", 0, {"The recipe fits its type already."}, {}},
        {"ravik delete recipeTypeList::Filling::Carbonated::members::SnifterTime", 0, {"Deleted"}, {}},
        {"ravik check", 0, {"note: recipeList::Filling::Cola1500::values::SnifterTime: no member"}, {}},
        {"ravik update Filling::Cola1500",
         0,
         {"recipeList::Filling::Cola1500::values::SnifterTime not found in recipeType: Deleted"},
         {}},
        {"ravik delete recipeList::Filling::Cola1500::values::DripTime && ravik update Filling::Cola1500",
         0,
         {"DripTime filled in: "},
         {}},
    });
}

TEST_F(Plant, carries_edits_through_and_refuses_wrong_ones)
{
    expect_all({
        {"ravik rename --dry-run recipeList::Capping::Pco28 recipeList::Capping::Pco",
         0,
         {"would write  recipeList::Products::Cola1500::values::Capping", "Nothing was changed."},
         {}},
        {"ravik get recipeList::Capping::Pco", 1, {}, {"ENTRY_NOT_FOUND"}},
        {"ravik rename recipeList::Capping::Pco28 recipeList::Capping::Pco",
         0,
         {"wrote   recipeList::Products::Cola1500::values::Capping", "Renamed"},
         {}},
        {"ravik get recipeList::Products::Cola1500::values::Capping", 0, {"\"Capping::Pco\"\n"}, {}},
        {"ravik --json rename recipeTypeList::Packing recipeTypeList::Pack",
         0,
         {R"("recipeTypeList::Products::SoftDrink::members::Packing::recipeType")"},
         {}},
        {"ravik set recipeList::Filling::Cola1500::values::FillerSpeed '\"fast\"'",
         1,
         {},
         {"TYPE_MISMATCH", "recipeList::Filling::Cola1500"}},
        {"ravik set recipeList::Filling::Cola1500::values::FillerSpeed fast", 2, {}, {"'\"fast\"'"}},
        {"ravik set recipeList::Filling '{}'", 1, {}, {"would disappear"}},
        {R"(ravik set recipeList::New::R '{"recipeTypeName": "Nope", "values": {}}')", 1, {}, {"TYPE_MISSING"}},
        {"ravik set 'recipeList::Trial runs::values' 1", 1, {}, {"REQUIRED_FIELD"}},
        {"ravik --domain Filler set values::FillerSpeed 7 && ravik symbol get Filler.Speed", 0, {"7"}, {}},
        {"ravik --domain Filler set variables::FillerSpeed 7", 1, {}, {"ravik.json"}},
        {"ravik check", 0, {"Nothing is wrong."}, {}},
        {R"(echo '{"recipeList": {"a": {"values": 1}, "b": {"recipeTypeName": "Nope", "values": {}}, "c::d": {}}}' | )"
         "ravik import --dry-run -",
         1,
         {},
         {"recipeList::a", "TYPE_MISSING: recipeList::b", "c::d"}},
    });
}

} // namespace

} // namespace Ravik::Test
