#include "Domain.h"
#include "ScriptedDevice.h"

#include <gtest/gtest.h>

#include <cctype>
#include <sstream>

namespace Ravik::Test
{

namespace
{

using Request = ScriptedDevice::Request;

TEST(ModbusSettings, are_refused_with_the_key_and_what_was_expected)
{
    struct Case
    {
        char const* key;
        char const* expected;
        /// Values, and how they are named.
        std::vector<std::pair<Value, char const*>> refused;
    };
    std::vector<Case> const cases = {
        {"host",
         "the device's name or IP address (its port stands in \"port\")",
         {{{}, "nothing"}, {"", R"("")"}, {"10.0.0.1:502", R"("10.0.0.1:502")"}}},
        {"port", "a whole number from 1 to 65535", {{0, "0"}, {65536, "65536"}, {"502", R"("502")"}}},
        {"unit", "a whole number from 0 to 247, or 255", {{248, "248"}, {-1, "-1"}}},
        {"timeoutMs", "a whole number from 1 to 600000", {{0, "0"}, {1.5, "1.5"}}},
        {"parallelRequests", "a whole number from 1 to 16", {{0, "0"}, {17, "17"}}},
        {"registersPerWrite", "a whole number from 1 to 123", {{124, "124"}}},
        {"registersPerRead", "a whole number from 1 to 125", {{126, "126"}, {9'000'000'000L, "9000000000"}}},
        {"singleWritesOnly", "true or false", {{1, "1"}}},
        {"readGap", "a whole number from 0 to 65535", {{-1, "-1"}}},
        {"timeoutMS", R"("timeoutMs")", {{1000, "other letters"}}},
    };
    for (auto const& [key, expected, refused] : cases)
    {
        for (auto const& [value, found] : refused)
        {
            SCOPED_TRACE(std::string(key) + ": " + found);
            Domain const domain(502, map({{key, value}}));
            EXPECT_EQ(domain.started().result(), ErrorValue::EXTENSION_CONFIG);
            EXPECT_EQ(domain.started().text(),
                      "\"" + std::string(key) + "\": expected " + expected + ", found " + found);
            EXPECT_TRUE(domain.host.listeners.empty());
        }
    }
    Domain const accepted(502, map({{"unit", 255}, {"readGap", 3.0}, {"somethingElse", true}}));
    EXPECT_EQ(accepted.started().result(), ErrorValue::SUCCESS);
}

TEST(ModbusSettings, are_changed_only_to_what_the_next_start_takes)
{
    Domain const domain(502);
    auto* const listener = dynamic_cast<IRavikSrvConfigListener*>(domain.host.listeners.at(1).listener);
    ASSERT_NE(listener, nullptr);
    Context context;
    context.set_domain("Line");
    auto const change = [&](char const* path, Value value)
    { return listener->before_change(context, path, value, "").result(); };
    EXPECT_EQ(change("unit", 300), ErrorValue::EXTENSION_CONFIG);
    EXPECT_EQ(change("unit", 3), ErrorValue::SUCCESS);
    EXPECT_EQ(change("notes::by", "me"), ErrorValue::SUCCESS) << "no setting";
    EXPECT_EQ(change("", map({{"unit", 3}})), ErrorValue::EXTENSION_CONFIG) << "all settings, without a host";
    EXPECT_EQ(change("", map({{"host", "h"}})), ErrorValue::SUCCESS);
}

/// Accesses as "w1 r2:int32 r3.5 rcoil:7": a holding register and an int16 where nothing else is said. What is written
/// is true or the place in the group, from 1.
Controller::Accesses accesses_of(std::string const& text)
{
    Controller::Accesses accesses;
    std::istringstream stream(text);
    for (std::string word; stream >> word;)
    {
        bool const whole = std::isalpha(word[1]) != 0;
        bool const is_bit = whole || word.find('.') != std::string::npos;
        auto const* const type = is_bit || word.find(':') != std::string::npos ? "" : ":int16";
        auto const value = is_bit ? Value(true) : Value(static_cast<int>(accesses.size()) + 1);
        accesses.emplace_back((whole ? "" : "holding:") + word.substr(1) + type, word.front() == 'w' ? value : Value());
    }
    return accesses;
}

TEST(ModbusRequests, are_the_fewest_in_the_groups_order)
{
    struct Case
    {
        char const* accesses;
        char const* requests;
        char const* outcomes;
    };
    std::vector<Case> const cases = {
        // writes: neighbours in the group that are neighbours in registers, up to the limit
        {"w1 w2:int32 w4", "16@1x3 16@4x1", "ok ok ok"},
        {"w2 w1 w9 w2 w2", "16@2x1 16@1x1 16@9x1 16@2x1 16@2x1", "ok ok ok ok ok"},
        {"w1 wcoil:2 wcoil:3", "16@1x1 15@2x2", "ok ok ok"},
        // bits of one register, each once, and nothing else with them
        {"w1.0 w1.5 w1.0 w2.1 w2 w3.3", "22@1x65502 22@1x65534 22@2x65533 16@2x1 22@3x65527", "ok ok ok ok ok ok"},
        // reads: in any order, over gaps, several from the same register
        {"r4 r1 r2.3 r2", "3@1x4", "4 1 false 2"},
        {"r1 rinput:2:int16 rcoil:3 rdiscrete:4", "3@1x1 4@2x1 1@3x1 2@4x1", "1 0 false false"},
        {"r60:string[10] r63 r66", "3@60x4 3@64x1 3@66x1", "63 66"},
        // a read behind a write sees what was written
        {"r2 w3 r3 r2", "3@2x1 16@3x1 3@2x2", "2 ok 2 2"},
        // the device refuses register 20: without gaps first, then access by access
        {"w18 w19:int32 w21", "16@18x3 16@18x1 16@19x2 16@21x1", "ok ILLEGAL_DATA_VALUE ok"},
        {"r18 r19 r21", "3@18x4 3@18x2 3@21x1", "18 19 21"},
        {"r19 r19.3 r20 r22", "3@19x4 3@19x2 3@19x1 3@19x1 3@20x1 3@22x1", "19 false ILLEGAL_DATA_VALUE 22"},
    };
    for (auto const& [accesses, requests, outcomes] : cases)
    {
        ScriptedDevice device(
            [](ScriptedDevice& self, Request const& request)
            {
                auto const count = request.function() == 22 ? 1 : request.word(10);
                auto const touches = request.address() <= 20 && request.address() + count > 20;
                return touches ? ScriptedDevice::exception(request, 3) : self.right_answer(request);
            });
        Domain domain(device.port(), map({{"registersPerWrite", 3}, {"registersPerRead", 4}, {"readGap", 1}}));
        EXPECT_EQ(domain.outcomes(accesses_of(accesses)), outcomes) << accesses;
        EXPECT_EQ(device.requests(), requests) << accesses;
    }
}

TEST(ModbusRequests, are_filled_up_to_what_the_protocol_and_the_device_allow)
{
    ScriptedDevice device;
    auto const requests_for = [&](char const* kind, int count)
    {
        std::string text;
        for (int address = 0; address < count; ++address)
        {
            text += " " + std::string(kind) + std::to_string(address);
        }
        Domain(device.port()).send(accesses_of(text));
        return device.requests();
    };
    EXPECT_EQ(requests_for("w", 300), "16@0x123 16@123x123 16@246x54");
    EXPECT_EQ(requests_for("r", 300), "3@0x125 3@125x125 3@250x50");
    EXPECT_EQ(requests_for("wcoil:", 2000), "15@0x1968 15@1968x32");
    EXPECT_EQ(requests_for("rcoil:", 2001), "1@0x2000 1@2000x1");
    EXPECT_EQ(device.holding(299), 300);

    ScriptedDevice old;
    Domain single(old.port(), map({{"singleWritesOnly", true}, {"registersPerRead", 2}}));
    EXPECT_EQ(single.outcomes({{"holding:7:int32", 65538},
                               {"holding:3:string[3]", "ABC"},
                               {"coil:1", true},
                               {"holding:3:string[6]", {}},
                               {"holding:7:int32", {}}}),
              "ok ok ok ABC 65538");
    EXPECT_EQ(old.requests(), "6@7x1 6@8x2 6@3x16706 6@4x17152 5@1x65280 3@3x2 3@5x1 3@7x2");
}

TEST(ModbusRequests, to_bits_of_a_register_leave_the_others_alone)
{
    std::atomic<bool> knows_masks = true;
    ScriptedDevice device(
        [&](ScriptedDevice& self, Request const& request)
        {
            bool const refused = request.function() == 22 && !knows_masks;
            return refused ? ScriptedDevice::exception(request, 1) : self.right_answer(request);
        });
    device.holding(5) = 0xF00F;
    Domain domain(device.port());
    EXPECT_EQ(domain.outcomes({{"holding:5.0", false}, {"holding:5.8", true}, {"holding:5.15", true}}), "ok ok ok");
    EXPECT_EQ(domain.read("holding:5:uint16"), Value(0xF10E));
    EXPECT_EQ(device.requests(), "22@5x32510 3@5x1");

    knows_masks = false;
    EXPECT_EQ(domain.outcomes({{"holding:5.1", false}, {"holding:6.0", true}}), "ok ok");
    EXPECT_EQ(domain.outcomes(accesses_of("r5:uint16 r6")), std::to_string(0xF10C) + " 7");
    EXPECT_EQ(device.requests(), "22@5x65533 3@5x1 16@5x1 3@6x1 16@6x1 3@5x2")
        << "the device is asked once whether it knows masked writes";

    ScriptedDevice old;
    old.holding(5) = 4;
    EXPECT_EQ(Domain(old.port(), map({{"singleWritesOnly", true}})).outcomes({{"holding:5.0", true}}), "ok");
    EXPECT_EQ(old.requests(), "3@5x1 6@5x5");
}

TEST(ModbusRequests, that_a_device_puts_off_are_repeated_only_where_it_has_not_taken_them)
{
    constexpr int taken = 5;
    constexpr int busy = 6;
    for (auto const& [code, requests] : {std::pair(taken, "16@1x2"), {busy, "16@1x2 16@1x1 16@2x1"}})
    {
        ScriptedDevice device([code = code](ScriptedDevice& /*self*/, Request const& request)
                              { return ScriptedDevice::exception(request, code); });
        EXPECT_EQ(Domain(device.port()).outcomes(accesses_of("w1 w2")), "DEVICE_BUSY DEVICE_BUSY");
        EXPECT_EQ(device.requests(), requests);
    }
}

} // namespace

} // namespace Ravik::Test
