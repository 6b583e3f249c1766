#include "Address.h"

#include <gtest/gtest.h>

#include <vector>

using namespace Modbus;

namespace
{

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
        {"holding:4:bool", {.first = 4}, 1},
        {"holding:120:string[16]", {.first = 120, .type = Type::STRING, .length = 16}, 8},
        {"input:5:string[5]", {.first = 5, .table = Table::INPUT, .type = Type::STRING, .length = 5}, 3},
        {"holding:0:string[131072]", {.type = Type::STRING, .length = 131072}, 65536},
        {"coil:7", {.first = 7, .table = Table::COIL}, 1},
        {"discrete:9:bool", {.first = 9, .table = Table::DISCRETE}, 1},
        {"input:65535:uint16", {.first = 65535, .table = Table::INPUT, .type = Type::UINT16}, 1},
        {"holding:65532:uint64", {.first = 65532, .type = Type::UINT64}, 4},
        {"holding:1:int16", {.first = 1, .type = Type::INT16}, 1},
        {"holding:1:uint32", {.first = 1, .type = Type::UINT32}, 2},
        {"holding:1:int64:swapped", {.first = 1, .type = Type::INT64, .swapped = true}, 4},
        {"holding:1:real64", {.first = 1, .type = Type::REAL64}, 4},
    };
    for (auto const& [mapping, address, count] : cases)
    {
        auto const parsed = parse_address(mapping);
        auto const* const error = std::get_if<AddressError>(&parsed);
        ASSERT_EQ(error, nullptr) << describe(*error, mapping);
        EXPECT_EQ(std::get<Address>(parsed), address) << mapping;
        EXPECT_EQ(std::get<Address>(parsed).count(), count) << mapping;
    }
}

TEST(Address, points_at_the_character_that_is_wrong)
{
    auto const type = "expected a type: bool, int16, uint16, int32, uint32, int64, uint64, real32, real64 or string[n]";
    struct Case
    {
        std::string mapping;
        int character;
        char const* expected;
    };
    std::vector<Case> const cases = {
        {"", 1, "expected holding, input, coil or discrete"},
        {"Holding:1:int16", 1, "expected holding, input, coil or discrete"},
        {"holding", 8, "expected ':' and an address"},
        {"coil.7", 5, "expected ':' and an address"},
        {"coil:", 6, "expected an address from 0 to 65535"},
        {"coil:-1", 6, "expected an address from 0 to 65535"},
        {"coil:65536", 6, "expected an address from 0 to 65535"},
        {"holding:99999999999999999999:int16", 9, "expected an address from 0 to 65535"},
        {"holding:0x10:int16", 10, "expected ':' and a type"},
        {"holding:100", 12, "expected ':' and a type"},
        {"holding:100:", 13, type},
        {"holding:100:real", 13, type},
        {"holding:100:int16 ", 13, type},
        {"holding:100:real32x", 13, type},
        {"holding:100.16", 13, "expected a bit from 0 to 15"},
        {"holding:100.:bool", 13, "expected a bit from 0 to 15"},
        {"holding:100.3:int16", 15, "expected bool, since this is one bit"},
        {"coil:7:int16", 8, "expected bool, since this is one bit"},
        {"coil:7.1", 7, "expected the end"},
        {"holding:1:int16:swapped", 16, "expected the end"},
        {"holding:1:int32:", 17, "expected swapped"},
        {"holding:1:int32:swap", 17, "expected swapped"},
        {"holding:1:int32:swapped:swapped", 24, "expected the end"},
        {"holding:65535:int32", 15, "expected a type that ends at address 65535 or before"},
        {"holding:65500:string[73]", 15, "expected a type that ends at address 65535 or before"},
        {"holding:1:string", 17, "expected '[' and the text's length in bytes"},
        {"holding:1:string[0]", 18, "expected a length of at least 1"},
        {"holding:1:string[]", 18, "expected a length of at least 1"},
        {"holding:1:string[4", 19, "expected ']'"},
        {std::string("coil:7\0", 7), 7, "expected the end"},
    };
    for (auto const& [mapping, character, expected] : cases)
    {
        auto const parsed = parse_address(mapping);
        auto const* const error = std::get_if<AddressError>(&parsed);
        ASSERT_NE(error, nullptr) << mapping;
        EXPECT_EQ(describe(*error, mapping),
                  "'" + mapping + "', character " + std::to_string(character) + ": " + expected);
    }
}

} // namespace
