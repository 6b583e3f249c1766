#include "RequestPlan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

using namespace Modbus;

namespace
{

/// Accesses as "w holding:1:int16, r coil:7, …".
std::vector<Access> accesses_of(std::string const& text)
{
    std::vector<Access> accesses;
    std::istringstream stream(text);
    for (std::string direction, mapping; stream >> direction >> mapping;)
    {
        if (mapping.back() == ',')
        {
            mapping.pop_back();
        }
        accesses.push_back({std::get<Address>(parse_address(mapping)), direction == "w"});
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
    Limits small;
    small.registers_per_write = 4;
    small.registers_per_read = 5;
    small.bits_per_write = 2;
    small.read_gap = 2;
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
        {"w holding:1:int16, w holding:2:int32, w holding:4:int16, w holding:5:int16", small,
         "W0 1+4(0 1 2), W0 5+1(3)"},
        {"w holding:2:int16, w holding:1:int16", small, "W0 2+1(0), W0 1+1(1)"},
        {"w holding:1:int16, w holding:9:int16, w holding:2:int16", small, "W0 1+1(0), W0 9+1(1), W0 2+1(2)"},
        {"w holding:1:int16, w holding:1:int16", small, "W0 1+1(0), W0 1+1(1)"},
        {"w holding:1:int16, w coil:2, w coil:3, w coil:4", small, "W0 1+1(0), W2 2+2(1 2), W2 4+1(3)"},
        {"w holding:0:int16, w holding:1:int64", small, "W0 0+1(0), W0 1+4(1)"},
        {"w holding:0:string[20], w holding:10:int16", small, "W0 0+10(0), W0 10+1(1)"},
        {"w holding:1:int16, w holding:2:int32", single, "W0 1+1(0), W0 2+2(1)"},
        // bits of one register, each once, and nothing else with them
        {"w holding:1.0, w holding:1.5, w holding:1.0, w holding:2.1, w holding:2:int16", small,
         "B0 1+1(0 1), B0 1+1(2), B0 2+1(3), W0 2+1(4)"},
        {"w holding:1:int16, w holding:2.3, w holding:3:int16", small, "W0 1+1(0), B0 2+1(1), W0 3+1(2)"},
        // reads: in any order, over gaps, several from the same register
        {"r holding:5:int16, r holding:1:int16, r holding:2.3, r holding:2:int16", small, "R0 1+5(1 2 3 0)"},
        {"r holding:1:int16, r holding:4:int16, r holding:8:int16", small, "R0 1+4(0 1), R0 8+1(2)"},
        {"r holding:1:int16, r input:2:int16, r coil:3, r discrete:4", small,
         "R0 1+1(0), R1 2+1(1), R2 3+1(2), R3 4+1(3)"},
        {"r holding:0:string[20], r holding:3:int16, r holding:10:int16", small, "R0 0+10(0 1), R0 10+1(2)"},
        {"r holding:0:int16, r holding:1:int16", single, "R0 0+2(0 1)"},
        // a read behind a write sees what was written
        {"r holding:2:int16, w holding:1:int16, r holding:1:int16, r holding:0:int16", small,
         "R0 2+1(0), W0 1+1(1), R0 0+2(3 2)"},
    };
    for (auto const& [text, limits, requests] : cases)
    {
        auto const accesses = accesses_of(text);
        auto const plan = plan_requests(accesses, limits);
        EXPECT_EQ(shown(plan.requests, plan), requests) << text;
    }
}

TEST(RequestPlan, needs_the_fewest_requests)
{
    for (std::uint32_t const count : {1U, 123U, 124U, 125U, 126U, 250U, 251U, 1000U, 10000U})
    {
        for (bool const writes : {true, false})
        {
            std::vector<Access> accesses;
            for (std::uint32_t index = 0; index < count; ++index)
            {
                accesses.push_back({{.first = static_cast<std::uint16_t>(index), .type = Type::UINT16}, writes});
            }
            std::uint32_t const limit = writes ? 123 : 125;
            EXPECT_EQ(plan_requests(accesses, {}).requests.size(), (count + limit - 1) / limit) << count;
        }
    }
}

TEST(RequestPlan, splits_a_refused_request_until_one_access_is_left)
{
    auto const accesses = accesses_of("r holding:1:int16, r holding:1.3, r holding:2:int16, r holding:5:int16, "
                                      "w holding:1:int16, w holding:2:int32, w holding:8.1, w holding:8.2");
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
