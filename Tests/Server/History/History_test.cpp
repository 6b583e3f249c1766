#include "History/History.h"

#include "History/timestamp.h"
#include "Support/TemporaryFolder.h"
#include "Json/Json.h"

#include <gtest/gtest.h>

#include <thread>

namespace Ravik::Test
{
namespace
{

using RavikSrv::Value;
using namespace std::chrono_literals;

TEST(History, of_what_takes_no_turn_is_written_while_another_thread_has_it)
{
    TemporaryFolder const folder;
    Configuration configuration(Store::open(folder.path() / "s.db", 0s));
    configuration.add_domain("D", Value());
    History history(configuration, {});
    Configuration::Turn turn(configuration);
    EXPECT_EQ(turn.write("D", "x", Value(1), Tree::WriteMode::Merge), RavikSrv::ErrorValue::SUCCESS);
    std::int64_t id = 0;
    std::thread(
        [&]
        {
            id = history.begin({.action = Action::activation,
                                .asked = "activate Bread",
                                .outcome = Outcome::begun,
                                .note = "for the fair",
                                .body = Json::parse(R"({"recipe":"Bread","before":[1]})")});
            EXPECT_EQ(history.find(id)->outcome, "begun");
            EXPECT_TRUE(history.complete(id, Outcome::failed, "no answer", Json::parse(R"({"recipe":"Bread"})")));
        })
        .join();
    turn.take_back();
    auto const record = history.find(id);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->asked + '|' + record->outcome + '|' + record->text + '|' + record->note,
              "activate Bread|failed|no answer|for the fair");
    EXPECT_NE(record->who, "");
    EXPECT_EQ(record->body, Json::parse(R"({"recipe":"Bread"})"));
    EXPECT_EQ(history.list({.recipe = "Bread"}).size(), 1U);
    EXPECT_TRUE(history.list({.recipe = "Brea"}).empty());
    EXPECT_FALSE(history.complete(id + 1, Outcome::done, "", Value()));
    EXPECT_EQ(History(configuration, {.keep = 1s, .size = 0}).begin({}), 0);
}

TEST(History, reads_times_spans_and_sizes)
{
    struct Case
    {
        std::string text;
        std::string expected;
    };
    for (auto const& [text, expected] : {Case{"2026-11-21", "2026-11-21T00:00:00.000Z"},
                                         {"2026-11-21T08:30", "2026-11-21T08:30:00.000Z"},
                                         {"2026-11-21t08:30:15.5z", "2026-11-21T08:30:15.500Z"},
                                         {"2026-11-21 00:30:15.12345+01:00", "2026-11-20T23:30:15.123Z"},
                                         {"2024-02-29T23:59:60-00:30", "2024-03-01T00:30:00.000Z"},
                                         {"2026-02-29", ""},
                                         {"2026-11-21T24:00", ""},
                                         {"2026-11-21T08:30Z ", ""},
                                         {"2026-11-21T08:30+1", ""},
                                         {"9999-01-01", ""},
                                         {"2026-1--21", ""},
                                         {"", ""}})
    {
        auto const time = read_timestamp(text);
        EXPECT_EQ(time ? timestamp(*time) : std::string(), expected) << text;
    }
    struct Quantity
    {
        std::string text;
        std::int64_t span;
        std::uint64_t size;
    };
    for (auto const& [text, span, size] : {Quantity{"90 days", 7'776'000, 0},
                                           {"1 hour", 3600, 0},
                                           {"36525 days", 3'155'760'000, 0},
                                           {"36526 days", 0, 0},
                                           {"256 MiB", 0, 268'435'456},
                                           {"1024 GiB", 0, 1'099'511'627'776},
                                           {"1025 GiB", 0, 0},
                                           {"-1 days", 0, 0},
                                           {"1.5 days", 0, 0},
                                           {"99999999999999999999 MiB", 0, 0},
                                           {"256", 0, 0}})
    {
        EXPECT_EQ(read_span(text).value_or(0s).count(), span) << text;
        EXPECT_EQ(read_size(text).value_or(0), size) << text;
    }
}

} // namespace
} // namespace Ravik::Test
