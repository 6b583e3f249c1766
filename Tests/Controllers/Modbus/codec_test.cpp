#include "Address.h"
#include "Registers.h"

#include "Support/api_types.h"

#include <gtest/gtest.h>

#include <limits>
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

using Cells = std::vector<std::uint16_t>;

/// The address of what stands behind "holding:0".
Address address_of(std::string const& form)
{
    return std::get<Address>(parse_address("holding:0" + form));
}

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();
constexpr long lowest = std::numeric_limits<long>::min();
constexpr long highest = std::numeric_limits<long>::max();

TEST(Registers, take_a_value_and_give_it_back)
{
    struct Case
    {
        char const* form;
        /// Null where the device has sent the registers.
        Value written;
        Cells registers;
        /// Null where it is what was written, or refused.
        Value read;
    };
    std::vector<Case> const cases = {
        {":bool", 1, {1}, true},
        {".15", true, {0x8000}, {}},
        {":int16", -32768L, {0x8000}, -32768},
        {":int32:swapped", 0x12345678, {0x5678, 0x1234}, {}},
        {":uint32", 4294967295L, {0xFFFF, 0xFFFF}, {}},
        {":int64", lowest, {0x8000, 0, 0, 0}, {}},
        {":uint64", highest, {0x7FFF, 0xFFFF, 0xFFFF, 0xFFFF}, {}},
        {":real32", 1.80000001, {0x3FE6, 0x6666}, 1.8},
        {":real32", 3.4028235e38, {0x7F7F, 0xFFFF}, {}},
        {":real32", 1e-45, {0, 1}, {}},
        {":real32", -infinity, {0xFF80, 0}, {}},
        {":real64", 1L << 53, {0x4340, 0, 0, 0}, 9007199254740992.0},
        {":real64", not_a_number, {0x7FF8, 0, 0, 0}, {}},
        {":string[4]", "\u20AC!", {0xE282, 0xAC21}, {}},
        {":bool", {}, {0x0100}, true},
        {":string[3]", {}, {0x4142, 0x43FF}, "ABC"},
        {":string[4]", {}, {0x4100, 0xFFFF}, "A"},
        {":uint64", {}, {0x8000, 0, 0, 0}, {}},
        {":string[4]", {}, {0x41C3, 0x0042}, {}}, // a character that is cut off
        {":string[4]", {}, {0xEDA0, 0x8000}, {}}, // half of a pair
    };
    for (auto const& [form, written, registers, read] : cases)
    {
        SCOPED_TRACE(form + (" " + testing::PrintToString(registers)));
        auto const address = address_of(form);
        if (written.isset())
        {
            Cells cells(address.count(), 0xAAAA);
            EXPECT_EQ(encode(address, written, cells).text, "");
            EXPECT_EQ(cells, registers);
        }
        auto const& expected = read.isset() ? read : written;
        Value back;
        EXPECT_EQ(decode(address, registers, back).succeeded(), expected.isset());
        EXPECT_EQ(back, expected);
    }
}

TEST(Registers, refuse_what_would_not_come_back)
{
    constexpr auto type = ModbusResult::TYPE_MISMATCH;
    constexpr auto range = ModbusResult::OUT_OF_RANGE;
    struct Case
    {
        char const* form;
        ModbusResult result;
        std::vector<Value> refused;
    };
    std::vector<Case> const cases = {
        {":bool", type, {2, "true", not_a_number}},
        {":int16", type, {3.7, "12", Value(ValueType::Map)}},
        {":int16", range, {32768, -32769, not_a_number}},
        {":int32", range, {2147483648L}},
        {":uint32", range, {4294967296L}},
        {":int64", range, {infinity, 9.3e18}},
        {":uint64", range, {-1L}},
        {":real32", range, {3.5e38, 16777217}},
        {":real64", range, {(1L << 53) + 1}},
        {":string[4]", range, {"ABCDE", Value(std::string_view("A\0B", 3))}},
        {":string[4]", type, {5}},
    };
    for (auto const& [form, result, refused] : cases)
    {
        for (auto const& value : refused)
        {
            auto const address = address_of(form);
            Cells cells(address.count());
            auto const outcome = encode(address, value, cells);
            EXPECT_EQ(outcome.result, result) << form << ": " << outcome.text;
        }
    }
    Cells cell(1);
    EXPECT_EQ(encode(address_of(":int16"), 40000, cell).text,
              "Expected a whole number from -32768 to 32767, not 40000, a value of type int");
}

} // namespace

} // namespace Ravik::Test
