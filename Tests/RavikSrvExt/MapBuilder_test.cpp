#include "RavikSrvExt/MapBuilder.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace RavikSrv
{

namespace
{

std::vector<std::string> names(int first, int count)
{
    std::vector<std::string> result;
    for (int number = first; number < first + count; ++number)
    {
        result.push_back("name " + std::to_string(number));
    }
    return result;
}

Value built(Value const& model, std::vector<std::string> const& all_names)
{
    MapBuilder builder(model);
    for (auto const& name : all_names)
    {
        EXPECT_TRUE(builder.insert(name, Value(std::string_view(name))));
    }
    return builder.finish();
}

bool share_names(Value const& left, Value const& right)
{
    return left.begin().name() == right.begin().name();
}

void expect_map_of(Value const& map, std::vector<std::string> const& all_names)
{
    ASSERT_EQ(map.type(), ValueType::Map);
    ASSERT_EQ(map.size(), all_names.size());
    auto entry = map.begin();
    for (auto const& name : all_names)
    {
        EXPECT_EQ(entry.name(), name);
        EXPECT_EQ(entry->get_text(), name);
        EXPECT_EQ(map[name.c_str()].get_text(), name);
        ++entry;
    }
    EXPECT_FALSE(map["name 5000"].isset());
}

TEST(MapBuilder, makes_the_same_map_with_every_model)
{
    auto mixed = names(0, 20);
    std::swap(mixed[8], mixed[9]);
    auto other_middle = names(0, 20);
    other_middle[10] = "other";
    std::vector<std::vector<std::string>> const shapes{
        {},           names(0, 1),  names(0, 16), names(0, 17), names(0, 20),
        names(0, 40), names(3, 20), mixed,        other_middle, {""},
    };
    for (auto const& model_names : shapes)
    {
        auto const model = built(Value(), model_names);
        for (auto const& wanted : shapes)
        {
            auto const map = built(model, wanted);
            expect_map_of(map, wanted);
            expect_map_of(model, model_names);
            if (!wanted.empty() && !model_names.empty())
            {
                EXPECT_EQ(share_names(map, model), wanted == model_names);
            }
        }
    }
    expect_map_of(built(Value(5), names(0, 3)), names(0, 3));
    expect_map_of(MapBuilder().finish(), {});
}

TEST(MapBuilder, refuses_a_name_that_is_there)
{
    auto const model = built(Value(), names(0, 30));
    for (int const taken : {1, 15, 16, 29, 30})
    {
        MapBuilder builder(model);
        for (auto const& name : names(0, taken))
        {
            ASSERT_TRUE(builder.insert(name, Value(std::string_view(name))));
        }
        MapBuilder moved = std::move(builder);
        EXPECT_FALSE(moved.insert("name 0", Value(1)));
        EXPECT_FALSE(moved.insert("name " + std::to_string(taken - 1), Value(1)));
        EXPECT_TRUE(moved.insert("behind", Value("behind")));
        auto expected = names(0, taken);
        expected.emplace_back("behind");
        expect_map_of(moved.finish(), expected);
    }
}

TEST(MapBuilder, maps_that_share_names_are_independent)
{
    auto const model = built(Value(), names(0, 30));
    auto map = built(model, names(0, 30));
    ASSERT_TRUE(share_names(map, model));
    map["name 3"] = "changed";
    EXPECT_TRUE(share_names(map, model));
    map.erase("name 0");
    map.insert("more", 1);
    expect_map_of(model, names(0, 30));
    EXPECT_EQ(map.size(), 30U);
    EXPECT_EQ(map["name 29"], "name 29");
}

} // namespace

} // namespace RavikSrv
