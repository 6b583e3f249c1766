#include "RavikSrvExt/Value.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>

namespace RavikSrv
{

namespace
{

TEST(ValueVector, holds_its_elements_in_order)
{
    Value list;
    list << 2 << "three" << true;
    EXPECT_EQ(*list.insert(list.begin_vector(), 1), 1);
    EXPECT_EQ(*list.insert(list.begin_vector() + 3, 0), 0);
    EXPECT_EQ(*list.insert(list.end_vector(), "last"), "last");
    EXPECT_EQ(list.end_vector() - list.begin_vector(), 6);
    EXPECT_TRUE(list.begin_vector() < list.end_vector());
    int position = 0;
    for (Value const& expected : {Value(1), Value(2), Value("three"), Value(0), Value(true), Value("last")})
    {
        EXPECT_EQ(list[position], expected);
        EXPECT_EQ(*list.find(position), expected);
        EXPECT_EQ(*(std::as_const(list).begin_vector() + position), expected);
        EXPECT_EQ(*std::as_const(list).get_vector().get(static_cast<unsigned long>(position)), expected);
        ++position;
    }
    EXPECT_TRUE(list.erase(0));
    EXPECT_FALSE(list.erase(5));
    EXPECT_EQ(list[0], 2);
    Value from_null;
    from_null.insert(from_null.end_vector(), "*");
    EXPECT_EQ(from_null[0U], "*");
}

TEST(ValueVector, answers_what_is_not_there)
{
    Value list;
    list << 1 << 2;
    Value map;
    map.insert("0", 1);
    for (Value value : {list, map, Value(), Value(7), Value("text")})
    {
        for (long const index : {-1L, -3'000'000'000L, 2L, 4'294'967'296L})
        {
            EXPECT_FALSE(std::as_const(value)[index].isset());
            EXPECT_EQ(value.find(index), value.end_vector());
            EXPECT_EQ(value.get_vector().get(static_cast<unsigned long>(index)), nullptr);
            EXPECT_FALSE(value.erase(index));
            EXPECT_THROW(value[index] = 1, std::out_of_range);
        }
    }
    for (Value const& other : {map, Value(7), Value("text"), Value(ValueType::Any)})
    {
        Value value = other;
        EXPECT_EQ(value.insert(value.end_vector(), 1), value.end_vector());
        value << 1;
        EXPECT_EQ(value, other);
    }
}

} // namespace

} // namespace RavikSrv
