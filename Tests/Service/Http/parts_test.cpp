#include "TestServer.h"

#include "Http/Seats.h"
#include "Http/header_check.h"
#include "Http/target.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Ravik::Test
{
namespace
{

using namespace Service;
using testing::ElementsAre;
using testing::Pair;

TEST(Target, is_decoded_once)
{
    struct Case
    {
        std::string target;
        std::string path;
        Fields query;
        std::string authority = {};
        std::string method = "GET";
    };
    std::vector<Case> const cases{
        {"/", "/", {}},
        {"/a%252fb", "/a%2fb", {}},
        {"/a+b//c/...", "/a+b//c/...", {}},
        {"/%E2%82%AC", "/\u20ac", {}},
        {"/?", "/", {}},
        {"/?a=b+c%2B%26&a=&&d&=e=f", "/", {{"a", "b c+&"}, {"a", ""}, {"d", ""}, {"", "e=f"}}},
        {"/?/../%2f%5c", "/", {{"/../\x2f\\", ""}}},
        {"http://h:1/a?b", "/a", {{"b", ""}}, "h:1"},
        {"https://[::1]", "/", {}, "[::1]"},
        {"http://h?b", "/", {{"b", ""}}, "h"},
        {"http://h", "*", {}, "h", "OPTIONS"},
        {"*", "*", {}, {}, "OPTIONS"},
    };
    for (auto const& each : cases)
    {
        SCOPED_TRACE(each.target);
        auto const decoded = decode_target(each.method, each.target);
        ASSERT_TRUE(std::holds_alternative<Target>(decoded));
        EXPECT_EQ(std::get<Target>(decoded).path, each.path);
        EXPECT_EQ(std::get<Target>(decoded).query, each.query);
        EXPECT_EQ(std::get<Target>(decoded).authority, each.authority);
    }
}

TEST(HeaderScan, finds_the_end_wherever_the_bytes_are_cut)
{
    std::string const header = "GET / HTTP/1.1\r\nHost: a\r\n\r\n";
    std::string const bytes = header + "\n\rbody";
    for (std::size_t cut = 0; cut < bytes.size(); ++cut)
    {
        SCOPED_TRACE(cut);
        HeaderScan scan;
        auto const first = scan.scan(std::string_view(bytes).substr(0, cut));
        EXPECT_EQ(first, cut < header.size() ? HeaderScan::State::more : HeaderScan::State::complete);
        EXPECT_EQ(first == HeaderScan::State::more ? scan.scan(bytes) : first, HeaderScan::State::complete);
        EXPECT_EQ(scan.length(), header.size());
    }
}

TEST(Seats, are_free_again_with_the_end_of_what_took_them)
{
    Seats seats({.all = 3, .address = 1, .user = 1});
    {
        auto first = seats.take("a");
        EXPECT_FALSE(seats.take("a"));
        EXPECT_TRUE(first.give_to("anna"));
        EXPECT_TRUE(first.give_to("anna"));
        auto second = seats.take("a");
        EXPECT_FALSE(second.give_to("anna"));
        EXPECT_FALSE(seats.take("a"));
        EXPECT_TRUE(second.give_to("bert"));
        EXPECT_TRUE(first.give_to("carl"));
        EXPECT_TRUE(second.give_to("anna"));
        auto third = std::move(second);
        auto const of_a_proxy = seats.take("");
        EXPECT_TRUE(of_a_proxy);
        EXPECT_EQ(seats.taken(), 3);
        EXPECT_FALSE(seats.take("b"));
    }
    EXPECT_EQ(seats.taken(), 0);
    EXPECT_TRUE(seats.take("a").give_to("anna"));
}

TEST(Log, writes_a_line_for_people_or_for_programs)
{
    MemoryLog people;
    people.tell("event", "a\nb\x1b\\ \u00e4\u0085\u202e\xff", {{"name", "value"}});
    EXPECT_THAT(people.lines.take().value_or(""),
                testing::MatchesRegex(
                    "20[0-9-]+T[0-9:]+\\.[0-9][0-9][0-9]Z event a.x0ab.x1b.. \u00e4.xc2.x85.xe2.x80.xae.xff"));
    MemoryLog programs(Log::Form::json);
    programs.tell("event", "a\n\"\xff", {{"name", "value"}});
    EXPECT_THAT(programs.lines.take().value_or(""),
                testing::EndsWith("\"event\":\"event\",\"text\":\"a\\n\\\"\uFFFD\",\"name\":\"value\"}"));
}

} // namespace
} // namespace Ravik::Test
