#include "RequestPlan.h"

#include <gtest/gtest.h>

#include <cctype>
#include <sstream>

using namespace Modbus;

namespace
{

/// Accesses as "w1 r2:int32 r3.5 rcoil:7": a holding register and an int16 where nothing else is said.
std::vector<Access> accesses_of(std::string const& text)
{
    std::vector<Access> accesses;
    std::istringstream stream(text);
    for (std::string word; stream >> word;)
    {
        bool const whole = std::isalpha(word[1]) != 0;
        auto const* const type = whole || word.find_first_of(":.") != std::string::npos ? "" : ":int16";
        auto const mapping = (whole ? "" : "holding:") + word.substr(1) + type;
        accesses.push_back({std::get<Address>(parse_address(mapping)), word.front() == 'w'});
    }
    return accesses;
}

/// Requests as "kind table first+count(accesses)", for example "W0 100+2(0 1)".
std::string shown(std::vector<Request> const& requests, Plan const& plan)
{
    std::string text;
    for (auto const& request : requests)
    {
        text += (text.empty() ? "" : ", ") + std::string(1, "RWB"[static_cast<int>(request.kind)]) +
                std::to_string(static_cast<int>(request.table)) + " " + std::to_string(request.first) + "+" +
                std::to_string(request.count) + "(";
        for (auto position = request.begin; position < request.end; ++position)
        {
            text += (position == request.begin ? "" : " ") + std::to_string(plan.order[position]);
        }
        text += ")";
    }
    return text;
}

TEST(RequestPlan, merges_what_may_be_merged)
{
    Limits small{.registers_per_write = 4, .registers_per_read = 5, .bits_per_write = 2, .read_gap = 2};
    Limits single = small;
    single.single_writes_only = true;
    struct Case
    {
        char const* accesses;
        Limits limits;
        char const* requests;
    };
    std::vector<Case> const cases = {
        {"", small, ""},
        // writes: neighbours in the group that are neighbours in registers, up to the limit
        {"w1 w2:int32 w4 w5", small, "W0 1+4(0 1 2), W0 5+1(3)"},
        {"w2 w1", small, "W0 2+1(0), W0 1+1(1)"},
        {"w1 w9 w2", small, "W0 1+1(0), W0 9+1(1), W0 2+1(2)"},
        {"w1 w1", small, "W0 1+1(0), W0 1+1(1)"},
        {"w1 wcoil:2 wcoil:3 wcoil:4", small, "W0 1+1(0), W2 2+2(1 2), W2 4+1(3)"},
        {"w0 w1:int64", small, "W0 0+1(0), W0 1+4(1)"},
        {"w0:string[20] w10", small, "W0 0+10(0), W0 10+1(1)"},
        {"w1 w2:int32", single, "W0 1+1(0), W0 2+2(1)"},
        // bits of one register, each once, and nothing else with them
        {"w1.0 w1.5 w1.0 w2.1 w2", small, "B0 1+1(0 1), B0 1+1(2), B0 2+1(3), W0 2+1(4)"},
        {"w1 w2.3 w3", small, "W0 1+1(0), B0 2+1(1), W0 3+1(2)"},
        // reads: in any order, over gaps, several from the same register
        {"r5 r1 r2.3 r2", small, "R0 1+5(1 2 3 0)"},
        {"r1 r4 r8", small, "R0 1+4(0 1), R0 8+1(2)"},
        {"r1 rinput:2:int16 rcoil:3 rdiscrete:4", small, "R0 1+1(0), R1 2+1(1), R2 3+1(2), R3 4+1(3)"},
        {"r0:string[20] r3 r10", small, "R0 0+10(0 1), R0 10+1(2)"},
        {"r0 r1", single, "R0 0+2(0 1)"},
        // a read behind a write sees what was written
        {"r2 w1 r1 r0", small, "R0 2+1(0), W0 1+1(1), R0 0+2(3 2)"},
    };
    for (auto const& [text, limits, requests] : cases)
    {
        auto const accesses = accesses_of(text);
        auto const plan = plan_requests(accesses, limits);
        EXPECT_EQ(shown(plan.requests, plan), requests) << text;
    }
}

TEST(RequestPlan, fills_requests_up_to_what_the_protocol_allows)
{
    for (auto const& [unit, most] : {std::pair{"w", 123}, {"rinput:", 125}, {"wcoil:", 1968}, {"rcoil:", 2000}})
    {
        std::string text;
        for (int first = 0; first <= 2 * most; ++first)
        {
            text += unit + std::to_string(first) + ":bool ";
        }
        auto const requests = plan_requests(accesses_of(text), {}).requests;
        ASSERT_EQ(requests.size(), 3U) << unit;
        EXPECT_EQ(requests[0].count, most) << unit;
        EXPECT_EQ(requests[1].count, most) << unit;
    }
}

TEST(RequestPlan, splits_a_refused_request_until_one_access_is_left)
{
    auto const accesses = accesses_of("r1 r1.3 r2 r5 w1 w2:int32 w8.1 w8.2");
    auto const plan = plan_requests(accesses, {});
    ASSERT_EQ(shown(plan.requests, plan), "R0 1+5(0 1 2 3), W0 1+3(4 5), B0 8+1(6 7)");
    auto const parts = split(plan.requests[0], plan, accesses);
    EXPECT_EQ(shown(parts, plan), "R0 1+2(0 1 2), R0 5+1(3)") << "first without the gap";
    EXPECT_EQ(shown(split(parts[0], plan, accesses), plan), "R0 1+1(0), R0 1+1(1), R0 2+1(2)");
    EXPECT_EQ(shown(split(parts[1], plan, accesses), plan), "");
    EXPECT_EQ(shown(split(plan.requests[1], plan, accesses), plan), "W0 1+1(4), W0 2+2(5)");
    EXPECT_EQ(shown(split(plan.requests[2], plan, accesses), plan), "B0 8+1(6), B0 8+1(7)");
}

} // namespace
