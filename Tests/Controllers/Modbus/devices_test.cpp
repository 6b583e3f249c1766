#include "Domain.h"

#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <thread>

#include <sys/stat.h>

namespace Ravik::Test
{

namespace
{

using Pipe = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

/// Against a device that nobody here wrote, read back with a program that nobody here wrote.
class Pymodbus : public testing::Test
{
protected:
    void SetUp() override
    {
        // The device runs until its input ends, and tells its port through a fifo.
        auto const fifo = m_folder.path() / "port";
        ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
        m_device.reset(popen((PYMODBUS_DEVICE " > " + fifo.string()).c_str(), "we"));
        ASSERT_TRUE(std::ifstream(fifo) >> port) << "no device came up: are the packages python3-pymodbus, "
                                                    "python3-serial and python3-serial-asyncio installed?";
    }

    /// What mbpoll reads, as "[address]: value" lines; `options` tell the type, the first address and the number.
    std::string mbpoll(std::string const& options) const
    {
        auto const command = "mbpoll -1 -q -0 -a 1 -p " + std::to_string(port) + " " + options + " 127.0.0.1 2>&1";
        Pipe const output(popen(command.c_str(), "re"), pclose);
        std::string text;
        std::array<char, 256> line{};
        while (fgets(line.data(), static_cast<int>(line.size()), output.get()) != nullptr)
        {
            text += line.front() == '[' ? line.data() : "";
        }
        return text;
    }

    std::uint16_t port = 0;

private:
    TemporaryFolder m_folder;
    Pipe m_device{nullptr, pclose};
};

TEST_F(Pymodbus, takes_every_type_and_gives_it_back)
{
    Domain domain(port);
    Controller::Accesses const written = {
        {"holding:0:int16", -5},
        {"holding:2:int32", -70000},
        {"holding:4:real32", 12.625},
        {"holding:6:real32:swapped", -1.8},
        {"holding:16:string[5]", "Cola"},
        {"holding:30.3", true},
        {"coil:7", true},
        {"coil:9", true},
    };
    for (auto const& command : domain.send(written))
    {
        EXPECT_STREQ(command.result_string(), "") << command.mapping();
    }
    for (auto const& [mapping, value] : written)
    {
        EXPECT_EQ(domain.read(mapping), value) << mapping;
    }
    EXPECT_EQ(domain.outcomes({{"input:5:uint16", {}}, {"discrete:9", {}}, {"discrete:10", {}}, {"input:12.2", {}}}),
              "5 true false true");

    EXPECT_EQ(mbpoll("-t 4:hex -r 0"), "[0]: \t0xFFFB\n");
    EXPECT_EQ(mbpoll("-t 4:int -B -r 2"), "[2]: \t-70000\n");
    EXPECT_EQ(mbpoll("-t 4:float -B -r 4"), "[4]: \t12.625\n");
    EXPECT_EQ(mbpoll("-t 4:float -r 6"), "[6]: \t-1.8\n");
    EXPECT_EQ(mbpoll("-t 4:hex -r 16 -c 3"), "[16]: \t0x436F\n[17]: \t0x6C61\n[18]: \t0x0000\n");
    EXPECT_EQ(mbpoll("-t 4:hex -r 30"), "[30]: \t0x0008\n");
    EXPECT_EQ(mbpoll("-t 0 -r 7 -c 3"), "[7]: \t1\n[8]: \t0\n[9]: \t1\n");
}

TEST_F(Pymodbus, names_exactly_the_symbols_that_it_refuses)
{
    Domain domain(port);
    // The device ends at 1999: the request crosses its end.
    EXPECT_EQ(domain.outcomes({{"holding:1998:int32", 1}, {"holding:2000:int16", 1}}), "ok ILLEGAL_DATA_ADDRESS");
    EXPECT_EQ(mbpoll("-t 4 -r 1999"), "[1999]: \t1\n");
    // What can't be sent keeps nothing else from being sent.
    EXPECT_EQ(domain.outcomes({{"holding:0:int16", 1},
                               {"holding:1:int16", 70000},
                               {"holding:1:int16", 2},
                               {"holding:2:int16", "x"},
                               {"holding:nowhere", 1},
                               {"input:3:int16", 1},
                               {"discrete:3", true},
                               {"holding:0:int32", {}}}),
              "ok OUT_OF_RANGE ok TYPE_MISMATCH INVALID_MAPPING READ_ONLY READ_ONLY 65538");
}

TEST_F(Pymodbus, serves_several_requests_at_once_over_one_connection)
{
    Domain domain(port);
    auto const work = [&](std::string const& mapping)
    {
        for (int round = 0; round < 100; ++round)
        {
            EXPECT_EQ(domain.outcomes({{mapping, round}, {mapping, {}}}), "ok " + std::to_string(round));
        }
    };
    std::thread other(work, "holding:1000:int16");
    work("holding:0:int32");
    other.join();
}

} // namespace

} // namespace Ravik::Test
