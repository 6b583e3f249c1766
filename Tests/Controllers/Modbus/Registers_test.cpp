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
        {":int16", 12.0, {12}, 12},
        {":uint16", 65535, {0xFFFF}, {}},
        {":int32:swapped", 0x12345678, {0x5678, 0x1234}, {}},
        {":uint32", 4294967295L, {0xFFFF, 0xFFFF}, {}},
        {":int64", lowest, {0x8000, 0, 0, 0}, {}},
        {":uint64", highest, {0x7FFF, 0xFFFF, 0xFFFF, 0xFFFF}, {}},
        {":real32", 1.80000001, {0x3FE6, 0x6666}, 1.8},
        {":real32", -3, {0xC040, 0}, -3.0},
        {":real32", 3.4028235e38, {0x7F7F, 0xFFFF}, {}},
        {":real32", 1e-45, {0, 1}, {}},
        {":real32", -infinity, {0xFF80, 0}, {}},
        {":real64", 1L << 53, {0x4340, 0, 0, 0}, 9007199254740992.0},
        {":real64", not_a_number, {0x7FF8, 0, 0, 0}, {}},
        {":string[3]", "ABC", {0x4142, 0x4300}, {}},
        {":string[4]", "\u20AC!", {0xE282, 0xAC21}, {}},
        {":bool", {}, {0x0100}, true},
        {".3", {}, {0xFFF7}, false},
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
        {".3", type, {Value(ValueType::Vector)}},
        {":int16", type, {3.7, "12", Value(ValueType::Map)}},
        {":int16", range, {32768, -32769, not_a_number}},
        {":uint16", range, {-1, 65536.0}},
        {":int32", range, {2147483648L}},
        {":uint32", range, {4294967296L}},
        {":int64", range, {infinity, 9.3e18}},
        {":uint64", range, {-1L}},
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
        }
    }
    Cells cell(1);
    EXPECT_EQ(encode(address_of(":int16"), 40000, cell).text,
              "Expected a whole number from -32768 to 32767, not 40000, a value of type int");
}

} // namespace

} // namespace Ravik::Test
