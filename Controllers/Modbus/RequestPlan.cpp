#include "RequestPlan.h"

#include <algorithm>

namespace Modbus
{

namespace
{

Request request_for(Access const& access, std::uint32_t position)
{
    auto const& address = access.address;
    auto const kind = !access.writes                 ? RequestKind::READ
                      : address.is_bit_of_register() ? RequestKind::WRITE_BITS_OF_REGISTER
                                                     : RequestKind::WRITE;
    return {.kind = kind,
            .table = address.table,
            .first = address.first,
            .count = address.count(),
            .begin = position,
            .end = position + 1};
}

/// Plans a range of accesses of the same direction. The requests refer to the positions `m_order` has at their turn.
class Planner
{
public:
    Planner(std::span<Access const> accesses, Limits const& limits, Plan& plan)
        : m_accesses(accesses), m_limits(limits), m_plan(plan)
    {
    }

    /// The accesses at the positions `begin` to `end` of the order.
    void reads(std::uint32_t begin, std::uint32_t end)
    {
        auto const place = [this](std::uint32_t index)
        {
            auto const& address = m_accesses[index].address;
            return static_cast<std::uint32_t>(address.table) * table_size + address.first;
        };
        auto const first = m_plan.order.begin() + begin;
        auto const last = m_plan.order.begin() + end;
        auto const by_place = [&](std::uint32_t left, std::uint32_t right) { return place(left) < place(right); };
        if (!std::is_sorted(first, last, by_place))
        {
            std::stable_sort(first, last, by_place);
        }
        each(begin, end, [this](Request& request, Access const& access) { return join_read(request, access); });
    }

    void writes(std::uint32_t begin, std::uint32_t end)
    {
        each(begin, end, [this](Request& request, Access const& access) { return join_write(request, access); });
    }

private:
    template <typename Join> void each(std::uint32_t begin, std::uint32_t end, Join const& join)
    {
        auto const first_of_mine = m_plan.requests.size();
        for (auto position = begin; position < end; ++position)
        {
            auto const& access = m_accesses[m_plan.order[position]];
            if (m_plan.requests.size() > first_of_mine && join(m_plan.requests.back(), access))
            {
                m_plan.requests.back().end = position + 1;
                continue;
            }
            m_plan.requests.push_back(request_for(access, position));
            m_bits = access.address.is_bit_of_register() ? 1U << access.address.bit : 0U;
        }
    }

    bool join_read(Request& request, Access const& access) const
    {
        auto const& address = access.address;
        auto const present_end = request.first + request.count;
        if (request.table != address.table || address.first > present_end + m_limits.read_gap)
        {
            return false;
        }
        auto const count = std::max(present_end, address.end()) - request.first;
        if (count > m_limits.per_read(request.table) && count > request.count)
        {
            return false;
        }
        request.count = count;
        return true;
    }

    bool join_write(Request& request, Access const& access)
    {
        auto const& address = access.address;
        if (request.table != address.table)
        {
            return false;
        }
        if (request.kind == RequestKind::WRITE_BITS_OF_REGISTER)
        {
            auto const bit = address.is_bit_of_register() ? 1U << address.bit : 0U;
            bool const joins = bit != 0 && address.first == request.first && (m_bits & bit) == 0;
            m_bits |= joins ? bit : 0U;
            return joins;
        }
        auto const count = request.count + address.count();
        bool const joins = !address.is_bit_of_register() && address.first == request.first + request.count &&
                           count <= m_limits.per_write(request.table);
        request.count = joins ? count : request.count;
        return joins;
    }

    std::span<Access const> m_accesses;
    Limits const& m_limits;
    Plan& m_plan;
    /// The bits of the register that the last request writes.
    unsigned m_bits = 0;
};

bool spans_a_gap(Request const& request, Plan const& plan, std::span<Access const> accesses)
{
    auto covered = request.first;
    for (auto position = request.begin; position < request.end; ++position)
    {
        auto const& address = accesses[plan.order[position]].address;
        if (address.first > covered)
        {
            return true;
        }
        covered = std::max(covered, address.end());
    }
    return false;
}

} // namespace

std::uint32_t Limits::per_write(Table table) const noexcept
{
    return single_writes_only ? 1 : holds_bits(table) ? bits_per_write : registers_per_write;
}

std::uint32_t Limits::per_read(Table table) const noexcept
{
    return holds_bits(table) ? bits_per_read : registers_per_read;
}

Plan plan_requests(std::span<Access const> accesses, Limits const& limits)
{
    Plan plan;
    auto const size = static_cast<std::uint32_t>(accesses.size());
    plan.order.reserve(size);
    for (std::uint32_t index = 0; index < size; ++index)
    {
        plan.order.push_back(index);
    }
    Planner planner(accesses, limits, plan);
    for (std::uint32_t begin = 0, end = 0; begin < size; begin = end)
    {
        bool const writes = accesses[begin].writes;
        while (end < size && accesses[end].writes == writes)
        {
            ++end;
        }
        writes ? planner.writes(begin, end) : planner.reads(begin, end);
    }
    return plan;
}

std::vector<Request> split(Request const& request, Plan const& plan, std::span<Access const> accesses)
{
    std::vector<Request> parts;
    if (request.end - request.begin == 1)
    {
        return parts;
    }
    bool const by_gaps = request.kind == RequestKind::READ && spans_a_gap(request, plan, accesses);
    for (auto position = request.begin; position < request.end; ++position)
    {
        auto part = request_for(accesses[plan.order[position]], position);
        if (by_gaps && !parts.empty() && part.first <= parts.back().first + parts.back().count)
        {
            auto& last = parts.back();
            last.count = std::max(last.first + last.count, part.first + part.count) - last.first;
            last.end = position + 1;
        }
        else
        {
            parts.push_back(part);
        }
    }
    return parts;
}

} // namespace Modbus
