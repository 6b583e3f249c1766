#include "Registers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

using namespace Modbus;
using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

using Cells = std::vector<std::uint16_t>;

Address address_of(char const* mapping)
{
    return std::get<Address>(parse_address(mapping));
}

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

TEST(Registers, take_a_value_and_give_it_back)
{
    struct Case
    {
        char const* mapping;
        Value written;
        Cells cells;
        Value read = {}; // null: as it was written
    };
    std::vector<Case> const cases = {
        {"coil:0", true, {1}},
        {"coil:0", false, {0}},
        {"coil:0", 1, {1}, true},
        {"holding:0:bool", true, {1}},
        {"holding:0.0", true, {1}},
        {"holding:0.15", true, {0x8000}},
        {"holding:0.15", false, {0}},
        {"holding:0:int16", -2, {0xFFFE}},
        {"holding:0:int16", -32768L, {0x8000}, -32768},
        {"holding:0:int16", 12.0, {12}, 12},
        {"holding:0:uint16", 65535, {0xFFFF}},
        {"holding:0:uint16", true, {1}, 1},
        {"holding:0:int32", 0x12345678, {0x1234, 0x5678}},
        {"holding:0:int32:swapped", 0x12345678, {0x5678, 0x1234}},
        {"holding:0:int32", -1, {0xFFFF, 0xFFFF}},
        {"holding:0:uint32", 4294967295L, {0xFFFF, 0xFFFF}},
        {"holding:0:uint32", 7, {0, 7}},
        {"holding:0:int64", std::numeric_limits<long>::min(), {0x8000, 0, 0, 0}},
        {"holding:0:int64:swapped", 0x0001000200030004L, {4, 3, 2, 1}},
        {"holding:0:uint64", std::numeric_limits<long>::max(), {0x7FFF, 0xFFFF, 0xFFFF, 0xFFFF}},
        {"holding:0:uint64", 5L, {0, 0, 0, 5}, 5},
        {"holding:0:real32", 1.5, {0x3FC0, 0}},
        {"holding:0:real32:swapped", 1.5, {0, 0x3FC0}},
        {"holding:0:real32", 1.8, {0x3FE6, 0x6666}},
        {"holding:0:real32", 1.80000001, {0x3FE6, 0x6666}, 1.8},
        {"holding:0:real32", -3, {0xC040, 0}, -3.0},
        {"holding:0:real32", 3.4028235e38, {0x7F7F, 0xFFFF}},
        {"holding:0:real32", 1e-45, {0, 1}},
        {"holding:0:real32", 1e-60, {0, 0}, 0.0},
        {"holding:0:real32", -infinity, {0xFF80, 0}},
        {"holding:0:real64", 1.8, {0x3FFC, 0xCCCC, 0xCCCC, 0xCCCD}},
        {"holding:0:real64:swapped", 1.8, {0xCCCD, 0xCCCC, 0xCCCC, 0x3FFC}},
        {"holding:0:real64", 1L << 53, {0x4340, 0, 0, 0}, 9007199254740992.0},
        {"holding:0:real64", not_a_number, {0x7FF8, 0, 0, 0}},
        {"holding:0:string[4]", "ABC", {0x4142, 0x4300}},
        {"holding:0:string[3]", "ABC", {0x4142, 0x4300}},
        {"holding:0:string[4]", "", {0, 0}},
        {"holding:0:string[4]", "\u20AC!", {0xE282, 0xAC21}},
    };
    for (auto const& [mapping, written, expected, read] : cases)
    {
        auto const address = address_of(mapping);
        Cells cells(address.count(), 0xAAAA);
        auto const encoded = encode(address, written, cells);
        EXPECT_EQ(encoded.text, "") << mapping;
        EXPECT_EQ(cells, expected) << mapping;
        Value back;
        EXPECT_TRUE(decode(address, cells, back).succeeded());
        EXPECT_EQ(back, read.isset() ? read : written) << mapping;
    }
}

TEST(Registers, refuse_what_would_not_come_back)
{
    constexpr auto type = ModbusResult::TYPE_MISMATCH;
    constexpr auto range = ModbusResult::OUT_OF_RANGE;
    struct Case
    {
        char const* mapping;
        Value written;
        ModbusResult result;
    };
    std::vector<Case> const cases = {
        {"coil:0", 2, type},
        {"coil:0", "true", type},
        {"coil:0", not_a_number, type},
        {"holding:0.3", Value(ValueType::Vector), type},
        {"holding:0:int16", 32768, range},
        {"holding:0:int16", -32769, range},
        {"holding:0:int16", 3.7, type},
        {"holding:0:int16", not_a_number, range},
        {"holding:0:int64", infinity, range},
        {"holding:0:int64", 9.3e18, range},
        {"holding:0:int16", "12", type},
        {"holding:0:int16", Value(ValueType::Map), type},
        {"holding:0:uint16", -1, range},
        {"holding:0:uint16", 65536.0, range},
        {"holding:0:int32", 2147483648L, range},
        {"holding:0:uint32", 4294967296L, range},
        {"holding:0:uint64", -1L, range},
        {"holding:0:uint64", -1.5, type},
        {"holding:0:real32", 3.5e38, range},
        {"holding:0:real32", 16777217, range},
        {"holding:0:real32", "1.5", type},
        {"holding:0:real64", (1L << 53) + 1, range},
        {"holding:0:string[4]", "ABCDE", range},
        {"holding:0:string[4]", Value(std::string_view("A\0B", 3)), range},
        {"holding:0:string[4]", 5, type},
    };
    for (auto const& [mapping, written, result] : cases)
    {
        auto const address = address_of(mapping);
        Cells cells(address.count());
        auto const outcome = encode(address, written, cells);
        EXPECT_EQ(outcome.result, result) << mapping << ": " << outcome.text;
        EXPECT_NE(outcome.text, "") << mapping;
    }
    Cells cell(1);
    auto const outcome = encode(address_of("holding:0:int16"), 40000, cell);
    EXPECT_EQ(outcome.text, "Expected a whole number from -32768 to 32767, not 40000, a value of type int");
}

TEST(Registers, bring_what_a_device_sends_or_say_why_not)
{
    struct Case
    {
        char const* mapping;
        Cells cells;
        Value read; // null: refused
    };
    std::vector<Case> const cases = {
        {"holding:0:bool", {0x0100}, true},
        {"holding:0.3", {0xFFF7}, false},
        {"holding:0.3", {0x0008}, true},
        {"coil:0", {1}, true},
        {"holding:0:uint64", {0x8000, 0, 0, 0}, {}},
        {"holding:0:string[4]", {0x4100, 0xFFFF}, "A"},
        {"holding:0:string[3]", {0x4142, 0x43FF}, "ABC"},
        {"holding:0:string[4]", {0xFFFF, 0xFFFF}, {}},
        {"holding:0:string[4]", {0x41C3, 0x0042}, {}}, // a character that is cut off
        {"holding:0:string[2]", {0xC0AF}, {}},         // overlong
        {"holding:0:string[4]", {0xE080, 0x8000}, {}}, // overlong
        {"holding:0:string[4]", {0xEDA0, 0x8000}, {}}, // half of a pair
        {"holding:0:string[4]", {0xF490, 0x8080}, {}}, // beyond the last character
        {"holding:0:string[4]", {0xF48F, 0xBFBF}, "\U0010FFFF"},
    };
    for (auto const& [mapping, cells, read] : cases)
    {
        Value value("before");
        auto const outcome = decode(address_of(mapping), cells, value);
        EXPECT_EQ(outcome.result, read.isset() ? ModbusResult::SUCCESS : ModbusResult::OUT_OF_RANGE) << mapping;
        EXPECT_EQ(value, read.isset() ? read : Value("before")) << mapping;
    }
}

} // namespace
