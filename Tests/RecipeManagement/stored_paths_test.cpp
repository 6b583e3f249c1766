#include "RecipeNotation.h"

#include "recipe_config_handler/PathList.h"

#include <gtest/gtest.h>

#include <thread>

using namespace Ravik::Test;
using namespace RavikSrv;

TEST(PathList, keeps_the_order_and_each_path_once)
{
    RecipeManagement::PathList paths;
    for (auto const* path : {"recipeList::B", "recipeList::A", "recipeList::B", "recipeList::a"})
    {
        paths.add(path);
    }
    auto const copy = paths;
    paths.add("recipeList::C");
    EXPECT_EQ(std::vector<std::string>(copy.begin(), copy.end()),
              (std::vector<std::string>{"recipeList::B", "recipeList::A", "recipeList::a"}));
    EXPECT_TRUE(copy.contains("recipeList::a"));
    EXPECT_FALSE(copy.contains("recipeList::C"));
}

TEST(StoredPaths, notifications_succeed_also_at_the_same_time)
{
    RecipeManagementFixture fixture;
    auto& changes = fixture.extension.changes();
    auto const notify = [&]
    {
        for (auto const* path : {"", "recipeList", "recipeTypeList", "recipeList::R", "recipeTypeList::T", "other::X"})
        {
            for (auto const* type : {"recipe", "recipeType", "", "member"})
            {
                EXPECT_EQ(changes.on_change(fixture.extension.context(), path, type).result(), ErrorValue::SUCCESS);
            }
        }
    };
    std::thread other(notify);
    notify();
    other.join();
    EXPECT_EQ(fixture.host.call_count, 3U) << "only the registrations";
}
