#include "Address.h"

#include <gtest/gtest.h>

#include <vector>

namespace Ravik::Test
{

namespace
{

using namespace Modbus;

TEST(Address, reads_every_form_of_a_mapping)
{
    struct Case
    {
        char const* mapping;
        Address address;
        std::uint32_t count;
    };
    std::vector<Case> const cases = {
        {"holding:100:real32", {.first = 100, .type = Type::REAL32}, 2},
        {"holding:102:int32:swapped", {.first = 102, .type = Type::INT32, .swapped = true}, 2},
        {"holding:110.3:bool", {.first = 110, .bit = 3}, 1},
        {"input:0.15", {.table = Table::INPUT, .bit = 15}, 1},
        {"input:5:string[5]", {.first = 5, .table = Table::INPUT, .type = Type::STRING, .length = 5}, 3},
        {"holding:0:string[131072]", {.type = Type::STRING, .length = 131072}, 65536},
        {"coil:7", {.first = 7, .table = Table::COIL}, 1},
        {"discrete:9:bool", {.first = 9, .table = Table::DISCRETE}, 1},
        {"input:65535:uint16", {.first = 65535, .table = Table::INPUT, .type = Type::UINT16}, 1},
    };
    for (auto const& [mapping, address, count] : cases)
    {
        SCOPED_TRACE(mapping);
        auto const parsed = parse_address(mapping);
        auto const* const error = std::get_if<AddressError>(&parsed);
        ASSERT_EQ(error, nullptr) << describe(*error, mapping);
        EXPECT_EQ(std::get<Address>(parsed), address);
        EXPECT_EQ(std::get<Address>(parsed).count(), count);
    }
}

TEST(Address, points_at_the_character_that_is_wrong)
{
    struct Case
    {
        char const* expected;
        /// With a '^' in front of the character at fault.
        std::vector<std::string> mappings;
    };
    std::vector<Case> const cases = {
        {"expected holding, input, coil or discrete", {"^", "^Holding:1:int16"}},
        {"expected ':' and an address", {"holding^", "coil^.7"}},
        {"expected an address from 0 to 65535",
         {"coil:^", "coil:^-1", "coil:^65536", "holding:^99999999999999999999:int16"}},
        {"expected ':' and a type", {"holding:0^x10:int16", "holding:100^"}},
        {"expected a type: bool, int16, uint16, int32, uint32, int64, uint64, real32, real64 or string[n]",
         {"holding:100:^", "holding:100:^real", "holding:100:^int16 ", "holding:100:^real32x"}},
        {"expected a bit from 0 to 15", {"holding:100.^16", "holding:100.^:bool"}},
        {"expected bool, since this is one bit", {"holding:100.3:^int16", "coil:7:^int16"}},
        {"expected swapped", {"holding:1:int32:^", "holding:1:int32:^swap"}},
        {"expected a type that ends at address 65535 or before", {"holding:65535:^int32", "holding:65500:^string[73]"}},
        {"expected '[' and the text's length in bytes", {"holding:1:string^"}},
        {"expected a length from 1 to 131072", {"holding:1:string[^0]", "holding:1:string[^]"}},
        {"expected ']'", {"holding:1:string[4^"}},
        {"expected the end, since only numbers of several registers are swapped", {"holding:1:int16^:swapped"}},
        {"expected the end", {"coil:7^.1", "holding:1:int32:swapped^:swapped", std::string("coil:7^\0", 8)}},
    };
    for (auto const& [expected, mappings] : cases)
    {
        for (auto mapping : mappings)
        {
            SCOPED_TRACE(mapping);
            auto const position = mapping.find('^');
            mapping.erase(position, 1);
            auto const parsed = parse_address(mapping);
            auto const* const error = std::get_if<AddressError>(&parsed);
            ASSERT_NE(error, nullptr);
            EXPECT_EQ(error->position, position);
            EXPECT_STREQ(error->expected, expected);
        }
    }
    EXPECT_EQ(describe({4, "expected this"}, "coil"), "'coil', character 5: expected this");
}

} // namespace

} // namespace Ravik::Test
