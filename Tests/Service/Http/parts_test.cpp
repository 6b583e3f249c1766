#include "TestServer.h"

#include "Http/target.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Ravik::Test
{
namespace
{

using namespace Service;

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
