#include "Domain.h"
#include "Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

using namespace RavikSrv;
using namespace Ravik::Test;
using testing::HasSubstr;

namespace
{

/// Against a device that nobody here wrote, read back with a program that nobody here wrote.
class Pymodbus : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_GT(port, 0) << "no device came up: are the packages python3-pymodbus, python3-serial and "
                              "python3-serial-asyncio installed?";
    }

    /// What mbpoll reads at the addresses: `type` and more as its options.
    std::string mbpoll(std::string const& options, int first) const
    {
        return output_of("mbpoll -1 -q -0 -a 1 -p " + std::to_string(port) + " " + options + " -r " +
                         std::to_string(first) + " 127.0.0.1");
    }

    Program device{PYMODBUS_DEVICE};
    std::uint16_t port = static_cast<std::uint16_t>(std::strtoul(device.read_line().c_str(), nullptr, 10));
};

TEST_F(Pymodbus, takes_every_type_and_gives_it_back)
{
    Domain domain(port);
    std::vector<std::pair<std::string, Value>> const written = {
        {"holding:0:int16", -5},
        {"holding:1:uint16", 65000},
        {"holding:2:int32", -70000},
        {"holding:4:real32", 12.625},
        {"holding:6:real32:swapped", -1.8},
        {"holding:8:real64", 1e-300},
        {"holding:12:int64", -5000000000},
        {"holding:16:string[5]", "Cola"},
        {"holding:19:bool", true},
        {"holding:30.3", true},
        {"holding:30.9:bool", true},
        {"coil:7", true},
        {"coil:8", false},
        {"coil:9", true},
    };
    auto reads = written;
    for (auto const& command : domain.send(written))
    {
        EXPECT_EQ(domain.outcome(command), "ok") << command.mapping() << ": " << command.result_string();
    }
    for (auto& access : reads)
    {
        access.second = Value();
    }
    reads.insert(reads.end(), {{"input:5:uint16", {}}, {"discrete:9", {}}, {"discrete:10", {}}, {"input:12.2", {}}});
    auto const answers = domain.send(reads);
    for (std::size_t index = 0; index < written.size(); ++index)
    {
        EXPECT_EQ(answers[index].read_value(), written[index].second) << written[index].first;
    }
    EXPECT_EQ(answers[14].read_value(), Value(5));
    EXPECT_EQ(answers[15].read_value(), Value(true));
    EXPECT_EQ(answers[16].read_value(), Value(false));
    EXPECT_EQ(answers[17].read_value(), Value(true));

    EXPECT_THAT(mbpoll("-t 4:hex -c 2", 0), testing::AllOf(HasSubstr("[0]: \t0xFFFB"), HasSubstr("[1]: \t0xFDE8")));
    EXPECT_THAT(mbpoll("-t 4:int -B", 2), HasSubstr("[2]: \t-70000"));
    EXPECT_THAT(mbpoll("-t 4:float -B", 4), HasSubstr("[4]: \t12.625"));
    EXPECT_THAT(mbpoll("-t 4:float", 6), HasSubstr("[6]: \t-1.8"));
    EXPECT_THAT(mbpoll("-t 4:hex -c 3", 16),
                testing::AllOf(HasSubstr("0x436F"), HasSubstr("0x6C61"), HasSubstr("0x0000")));
    EXPECT_THAT(mbpoll("-t 4:hex", 30), HasSubstr("0x0208"));
    EXPECT_THAT(mbpoll("-t 0 -c 3", 7),
                testing::AllOf(HasSubstr("[7]: \t1"), HasSubstr("[8]: \t0"), HasSubstr("[9]: \t1")));
}

TEST_F(Pymodbus, names_exactly_the_symbols_that_it_refuses)
{
    Domain domain(port);
    // The device ends at 1999: the last requests cross its end.
    auto const values = adjacent("holding", 1900, 150, ":uint16", [](int index) { return Value(index); });
    auto const written = domain.outcomes(values);
    auto const reads = adjacent("holding", 1900, 150, ":uint16", [](int) { return Value(); });
    auto const read = domain.outcomes(reads);
    for (int index = 0; index < 150; ++index)
    {
        auto const position = static_cast<std::size_t>(index);
        EXPECT_EQ(written[position], index < 100 ? "ok" : "ILLEGAL_DATA_ADDRESS") << index;
        EXPECT_EQ(read[position], index < 100 ? std::to_string(index) : "ILLEGAL_DATA_ADDRESS") << index;
    }
    EXPECT_THAT(mbpoll("-t 4", 1999), HasSubstr("[1999]: \t99"));
    // What can't be sent keeps nothing else from being sent.
    EXPECT_EQ(domain.outcomes({{"holding:0:int16", 1},
                               {"holding:1:int16", 70000},
                               {"holding:2:int16", "x"},
                               {"holding:nowhere", 1},
                               {"input:3:int16", 1},
                               {"discrete:3", true},
                               {"holding:5:int16", 6},
                               {"holding:0:int16", {}},
                               {"holding:5:int16", {}}}),
              (std::vector<std::string>{"ok", "OUT_OF_RANGE", "TYPE_MISMATCH", "INVALID_MAPPING", "READ_ONLY",
                                        "READ_ONLY", "ok", "1", "6"}));
    EXPECT_EQ(domain.last_group_result, 12U) << "that of the last failure";
}

TEST_F(Pymodbus, serves_several_requests_at_once_over_one_connection)
{
    Domain domain(port);
    auto const work = [&](int first)
    {
        for (int round = 0; round < 20; ++round)
        {
            auto accesses = adjacent("holding", first, 130, ":uint16", [&](int index) { return Value(index + round); });
            auto const reads = adjacent("holding", first, 130, ":uint16", [](int) { return Value(); });
            accesses.insert(accesses.end(), reads.begin(), reads.end());
            auto const answers = domain.send(accesses);
            for (int index = 0; index < 130; ++index)
            {
                ASSERT_EQ(answers[static_cast<std::size_t>(index) + 130].read_value(), Value(index + round));
            }
        }
    };
    std::thread other(work, 1000);
    work(0);
    other.join();
}

} // namespace
