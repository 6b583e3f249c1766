#include "Registers.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <limits>
#include <vector>

using namespace Modbus;
using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

using Cells = std::vector<std::uint16_t>;

/// The address of what stands behind "holding:0".
Address address_of(std::string const& form)
{
    return std::get<Address>(parse_address("holding:0" + form));
}

std::string shown(Cells const& cells)
{
    std::string text;
    for (auto const cell : cells)
    {
        std::array<char, 8> digits{};
        std::snprintf(digits.data(), digits.size(), text.empty() ? "%04X" : " %04X", cell);
        text += digits.data();
    }
    return text;
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
        Value written;
        char const* registers;
        Value read = {}; // null: as it was written
    };
    std::vector<Case> const cases = {
        {":bool", true, "0001"},
        {":bool", 1, "0001", true},
        {".15", true, "8000"},
        {".15", false, "0000"},
        {":int16", -2, "FFFE"},
        {":int16", -32768L, "8000", -32768},
        {":int16", 12.0, "000C", 12},
        {":uint16", 65535, "FFFF"},
        {":int32", 0x12345678, "1234 5678"},
        {":int32:swapped", 0x12345678, "5678 1234"},
        {":uint32", 4294967295L, "FFFF FFFF"},
        {":int64", lowest, "8000 0000 0000 0000"},
        {":uint64", highest, "7FFF FFFF FFFF FFFF"},
        {":real32:swapped", 1.8, "6666 3FE6"},
        {":real32", 1.80000001, "3FE6 6666", 1.8},
        {":real32", -3, "C040 0000", -3.0},
        {":real32", 3.4028235e38, "7F7F FFFF"},
        {":real32", 1e-45, "0000 0001"},
        {":real32", -infinity, "FF80 0000"},
        {":real64:swapped", 1.8, "CCCD CCCC CCCC 3FFC"},
        {":real64", 1L << 53, "4340 0000 0000 0000", 9007199254740992.0},
        {":real64", not_a_number, "7FF8 0000 0000 0000"},
        {":string[3]", "ABC", "4142 4300"},
        {":string[4]", "\u20AC!", "E282 AC21"},
    };
    for (auto const& [form, written, registers, read] : cases)
    {
        auto const address = address_of(form);
        Cells cells(address.count(), 0xAAAA);
        EXPECT_EQ(encode(address, written, cells).text, "") << form;
        EXPECT_EQ(shown(cells), registers) << form;
        Value back;
        EXPECT_TRUE(decode(address, cells, back).succeeded());
        EXPECT_EQ(back, read.isset() ? read : written) << form;
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
        {".3", type, {Value(ValueType::Vector)}},
        {":int16", type, {3.7, "12", Value(ValueType::Map)}},
        {":int16", range, {32768, -32769, not_a_number}},
        {":uint16", range, {-1, 65536.0}},
        {":int32", range, {2147483648L}},
        {":uint32", range, {4294967296L}},
        {":int64", range, {infinity, 9.3e18}},
        {":uint64", range, {-1L}},
        {":uint64", type, {-1.5}},
        {":real32", range, {3.5e38, 16777217}},
        {":real32", type, {"1.5"}},
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
            EXPECT_NE(outcome.text, "") << form;
        }
    }
    Cells cell(1);
    EXPECT_EQ(encode(address_of(":int16"), 40000, cell).text,
              "Expected a whole number from -32768 to 32767, not 40000, a value of type int");
}

TEST(Registers, bring_what_a_device_sends_or_say_why_not)
{
    struct Case
    {
        char const* form;
        Cells cells;
        Value read; // null: refused
    };
    std::vector<Case> const cases = {
        {":bool", {0x0100}, true},
        {".3", {0xFFF7}, false},
        {".3", {0x0008}, true},
        {":uint64", {0x8000, 0, 0, 0}, {}},
        {":string[4]", {0x4100, 0xFFFF}, "A"},
        {":string[3]", {0x4142, 0x43FF}, "ABC"},
        {":string[4]", {0xF48F, 0xBFBF}, "\U0010FFFF"},
        {":string[4]", {0xFFFF, 0xFFFF}, {}},
        {":string[4]", {0x41C3, 0x0042}, {}}, // a character that is cut off
        {":string[2]", {0xC0AF}, {}},         // overlong
        {":string[4]", {0xE080, 0x8000}, {}}, // overlong
        {":string[4]", {0xEDA0, 0x8000}, {}}, // half of a pair
        {":string[4]", {0xF490, 0x8080}, {}}, // beyond the last character
    };
    for (auto const& [form, cells, read] : cases)
    {
        Value value("before");
        auto const outcome = decode(address_of(form), cells, value);
        EXPECT_EQ(outcome.result, read.isset() ? ModbusResult::SUCCESS : ModbusResult::OUT_OF_RANGE) << form;
        EXPECT_EQ(value, read.isset() ? read : Value("before")) << form;
    }
}

} // namespace
