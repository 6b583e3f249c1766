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

unsigned bit_of(Address const& address)
{
    return address.is_bit_of_register() ? 1U << address.bit : 0U;
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

std::optional<Request> Planner::next()
{
    if (!has(m_planned))
    {
        return std::nullopt;
    }
    bool const writes = at(m_planned).writes;
    if (!writes && m_planned >= m_reads_end)
    {
        gather_reads();
    }
    auto request = request_for(at(m_planned), m_planned);
    m_bits = bit_of(at(m_planned).address);
    ++m_planned;
    while ((writes ? has(m_planned) : m_planned < m_reads_end) && join(request, at(m_planned)))
    {
        request.end = ++m_planned;
    }
    return request;
}

bool Planner::extend_order()
{
    bool const extends = m_accesses.make_more();
    while (m_order.size() < m_accesses.size())
    {
        m_order.push_back(static_cast<std::uint32_t>(m_order.size()));
    }
    return extends;
}

void Planner::gather_reads()
{
    auto const place = [this](std::uint32_t index)
    {
        auto const& address = m_accesses[index].address;
        return static_cast<std::uint32_t>(address.table) * table_size + address.first;
    };
    auto const by_place = [&](std::uint32_t left, std::uint32_t right) { return place(left) < place(right); };

    for (m_reads_end = m_planned + 1; has(m_reads_end) && !at(m_reads_end).writes; ++m_reads_end)
    {
    }
    auto const first = m_order.begin() + m_planned;
    auto const last = m_order.begin() + m_reads_end;
    if (!std::is_sorted(first, last, by_place))
    {
        std::stable_sort(first, last, by_place);
    }
}

bool Planner::join(Request& request, Access const& access)
{
    auto const& address = access.address;
    if (access.writes != (request.kind != RequestKind::READ) || address.table != request.table)
    {
        return false;
    }
    switch (request.kind)
    {
    case RequestKind::READ:
        return join_read(request, address);
    case RequestKind::WRITE:
        return join_write(request, address);
    default:
        return join_bit(request, address);
    }
}

bool Planner::join_read(Request& request, Address const& address) const
{
    auto const present_end = request.first + request.count;
    if (address.first > present_end + m_limits.read_gap)
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

bool Planner::join_write(Request& request, Address const& address) const
{
    auto const count = request.count + address.count();
    bool const joins = !address.is_bit_of_register() && address.first == request.first + request.count &&
                       count <= m_limits.per_write(request.table);
    request.count = joins ? count : request.count;
    return joins;
}

bool Planner::join_bit(Request& request, Address const& address)
{
    auto const bit = bit_of(address);
    bool const joins = bit != 0 && address.first == request.first && (m_bits & bit) == 0;
    m_bits |= joins ? bit : 0U;
    return joins;
}

std::vector<Request> Planner::split(Request const& request) const
{
    std::vector<Request> parts;
    bool const by_gaps = request.kind == RequestKind::READ && spans_a_gap(request);
    for (auto position = request.begin; position < request.end; ++position)
    {
        auto part = request_for(at(position), position);
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

bool Planner::spans_a_gap(Request const& request) const
{
    auto covered = request.first;
    for (auto position = request.begin; position < request.end; ++position)
    {
        auto const& address = at(position).address;
        if (address.first > covered)
        {
            return true;
        }
        covered = std::max(covered, address.end());
    }
    return false;
}

} // namespace Modbus
