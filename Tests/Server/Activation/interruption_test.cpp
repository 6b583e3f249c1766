#include "EditedProject.h"

#include "Controllers/Modbus/ScriptedDevice.h"

#include <gtest/gtest.h>

#include <atomic>

namespace Ravik::Test
{
namespace
{

using Request = ScriptedDevice::Request;

constexpr int registers = 4;

/// A project of the device with the registers R0, R1, …, too far apart to share a request, and the recipe Full.
class Line : public EditedProject
{
public:
    explicit Line(std::uint16_t port)
        : EditedProject(Test::configuration_of("T { " + repeated(registers, "R# ") + "} | Full:T { " +
                                               repeated(registers, "R#=* ") + "}"),
                        file(port))
    {
    }

    /// The outcome of the newest record.
    std::string recorded() const
    {
        auto const records = project->history({.limit = 1}).records;
        return records.empty() ? "none" : records.front().asked + ": " + records.front().outcome;
    }

private:
    static std::string file(std::uint16_t port)
    {
        std::string symbols;
        for (int index = 0; index < registers; ++index)
        {
            symbols += (index == 0 ? "\"R" : ",\"R") + std::to_string(index) +
                       R"(":{"DOMAIN":"Line","MAPPING":"holding:)" + std::to_string(100 * (index + 1)) +
                       R"(:int16","SCHEMA":{"type":"integer"}})";
        }
        return R"({"extensions":[{"domain":"RavikRecipeManagement","library":")" RECIPE_MANAGEMENT_LIBRARY
               R"("},{"domain":"Line","library":")" MODBUS_LIBRARY R"(","configuration":{"host":"127.0.0.1","port":)" +
               std::to_string(port) + "}}],\"symbols\":{" + symbols + "}}";
    }
};

std::string states(ActivationReport const& report)
{
    auto text = name(report.error);
    for (auto const& row : report.rows)
    {
        text += std::string(", ") + name_of(row.state);
    }
    return text;
}

/// The first request of what begins when so many were answered.
struct Phase
{
    static constexpr int reading = 0;
    static constexpr int writing = registers;
    static constexpr int verifying = 2 * registers;
    static constexpr int over = 3 * registers;
};

TEST(Interruption, ends_between_two_requests_to_one_device)
{
    struct Case
    {
        char const* name;
        /// How many requests are answered until it comes.
        int requests;
        char const* states;
        char const* text;
        char const* recorded;
    };
    std::vector<Case> const cases = {
        {"while it reads", Phase::reading + 2, "INTERRUPTED, not tried, not tried, not tried, not tried",
         "interrupted before anything was written", "import: done"},
        {"while it writes", Phase::writing + 1, "INTERRUPTED, written, not tried, not tried, not tried",
         "interrupted after 1 of 4 symbols were written", "activate Full: failed"},
        {"at the last write", Phase::verifying, "INTERRUPTED, written, written, written, written",
         "interrupted after 4 of 4 symbols were written", "activate Full: failed"},
        {"while it verifies", Phase::verifying + 3, "INTERRUPTED, verified, verified, verified, written",
         "interrupted after 4 of 4 symbols were written, before all of them were verified", "activate Full: failed"},
        {"at the end", Phase::over, "SUCCESS, verified, verified, verified, verified", "", "activate Full: done"},
    };
    for (auto const& each : cases)
    {
        SCOPED_TRACE(each.name);
        std::atomic<bool> stop = false;
        int answered = 0;
        ScriptedDevice device(
            [&](ScriptedDevice& self, Request const& request)
            {
                stop = ++answered == each.requests || stop;
                return self.right_answer(request);
            });
        Line const line(device.port());
        auto const report = line.project->activate("Full", {.stop = &stop});
        EXPECT_EQ(states(report), each.states);
        EXPECT_EQ(report.text, each.text);
        EXPECT_EQ(answered, each.requests);
        EXPECT_TRUE(line.recorded().starts_with(each.recorded)) << line.recorded();
    }
}

TEST(Interruption, of_a_revert_leaves_what_it_has_not_come_to)
{
    std::atomic<bool> stop = false;
    int left = -1;
    ScriptedDevice device(
        [&](ScriptedDevice& self, Request const& request)
        {
            stop = --left == 0 || stop;
            return self.right_answer(request);
        });
    Line const line(device.port());
    auto const id = line.project->activate("Full", {}).id.value();
    auto const body = line.project->history_record(id).records.front().body;
    struct Case
    {
        int requests;
        char const* states;
    };
    for (auto const& [requests, expected] :
         {Case{Phase::reading + 1, "INTERRUPTED, not tried, not tried, not tried, not tried"},
          Case{Phase::writing + 3, "INTERRUPTED, written, written, written, not tried"}})
    {
        left = requests;
        stop = false;
        EXPECT_EQ(states(line.project->revert_activation(body, {.stop = &stop})), expected);
        EXPECT_EQ(left, 0);
    }
    EXPECT_EQ(device.holding(300), 300);
    EXPECT_EQ(device.holding(400), 4);
}

TEST(Interruption, can_follow_from_how_far_it_has_come)
{
    ScriptedDevice device;
    Line const line(device.port());
    std::atomic<bool> stop = false;
    std::string told;
    std::string read;
    auto const report =
        line.project->activate("Full", {.stop = &stop,
                                        .progress =
                                            [&](std::size_t done, std::size_t total)
                                        {
                                            told += std::to_string(done) + '/' + std::to_string(total) + ' ';
                                            stop = stop || done == 2;
                                        },
                                        .reading = [&](std::size_t done, std::size_t total)
                                        { read += std::to_string(done) + '/' + std::to_string(total) + ' '; }});
    // The third was on its way when the second was told of.
    EXPECT_EQ(states(report), "INTERRUPTED, written, written, written, not tried");
    EXPECT_EQ(told, "1/4 2/4 3/4 ");
    EXPECT_EQ(read, "1/4 2/4 3/4 4/4 ");
}

} // namespace
} // namespace Ravik::Test
