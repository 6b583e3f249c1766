#include "RequestRunner.h"

#include <algorithm>

namespace Modbus
{

namespace
{

/// Whether whatever comes next would wait in vain as well.
bool concerns_whole_device(ModbusResult result)
{
    return result == ModbusResult::TIMEOUT || result == ModbusResult::CONNECTION_REFUSED ||
           result == ModbusResult::CONNECTION_LOST || result == ModbusResult::GATEWAY_TARGET_FAILED;
}

/// Hands out `cells` in pieces of at most `limit` until one fails; `transfer` takes a piece and where it begins.
template <typename Cell, typename Transfer>
Outcome in_pieces(std::span<Cell> cells, std::uint32_t limit, Transfer const& transfer)
{
    Outcome outcome;
    for (std::size_t begin = 0; begin < cells.size() && outcome.succeeded(); begin += limit)
    {
        auto const count = std::min<std::size_t>(limit, cells.size() - begin);
        outcome = transfer(cells.subspan(begin, count), static_cast<std::uint32_t>(begin));
    }
    return outcome;
}

} // namespace

std::optional<Outcome> RequestRunner::run()
{
    for (auto const& request : m_plan.requests)
    {
        run(request);
    }
    return m_given_up;
}

void RequestRunner::run(Request const& request)
{
    if (m_given_up)
    {
        report(request, *m_given_up);
        return;
    }
    auto outcome = send(request);
    if (concerns_whole_device(outcome.result))
    {
        m_given_up = Outcome{outcome.result, "Not tried: " + outcome.text};
        outcome.text += m_connection.may_be_done() ? "; it may have been written all the same" : "";
    }
    else if (!outcome.succeeded() && !m_connection.is_carrying_out())
    {
        auto const parts = split(request, m_plan, m_batch.accesses);
        for (auto const& part : parts)
        {
            run(part);
        }
        if (!parts.empty())
        {
            return;
        }
    }
    report(request, outcome);
}

void RequestRunner::report(Request const& request, Outcome const& outcome) const
{
    bool const brings_cells = request.kind == RequestKind::READ && outcome.succeeded();
    for (auto position = request.begin; position < request.end; ++position)
    {
        auto const index = m_plan.order[position];
        auto const& address = m_batch.accesses[index].address;
        m_report(index, outcome,
                 brings_cells ? std::span(m_read).subspan(address.first - request.first, address.count())
                              : std::span<std::uint16_t const>());
    }
}

Outcome RequestRunner::send(Request const& request)
{
    switch (request.kind)
    {
    case RequestKind::WRITE:
        return write(request);
    case RequestKind::WRITE_BITS_OF_REGISTER:
        return write_bits_of_register(request);
    default:
        return read(request);
    }
}

Outcome RequestRunner::read(Request const& request)
{
    m_read.resize(request.count);
    return in_pieces(std::span(m_read), m_limits.per_read(request.table),
                     [&](std::span<std::uint16_t> piece, std::uint32_t begin)
                     { return m_connection.read(request.table, request.first + begin, piece); });
}

Outcome RequestRunner::write(Request const& request)
{
    // Writes keep their order in the plan, so the cells of those that share a request follow one another.
    auto const cells = std::span(m_batch.cells).subspan(m_batch.offsets[m_plan.order[request.begin]], request.count);
    return in_pieces(
        cells, m_limits.per_write(request.table),
        [&](std::span<std::uint16_t const> piece, std::uint32_t begin)
        { return m_connection.write(request.table, request.first + begin, piece, m_limits.single_writes_only); });
}

Outcome RequestRunner::write_bits_of_register(Request const& request)
{
    unsigned mask = 0;
    unsigned bits = 0;
    for (auto position = request.begin; position < request.end; ++position)
    {
        auto const index = m_plan.order[position];
        mask |= 1U << m_batch.accesses[index].address.bit;
        bits |= m_batch.cells[m_batch.offsets[index]];
    }
    if (!m_limits.single_writes_only && !m_connection.lacks_masked_writes())
    {
        auto outcome =
            m_connection.write_bits(request.first, static_cast<std::uint16_t>(mask), static_cast<std::uint16_t>(bits));
        if (outcome.result != ModbusResult::ILLEGAL_FUNCTION)
        {
            return outcome;
        }
        m_connection.set_lacks_masked_writes();
    }
    std::uint16_t cell = 0;
    auto outcome = m_connection.read(request.table, request.first, std::span(&cell, 1));
    if (!outcome.succeeded())
    {
        return outcome;
    }
    cell = static_cast<std::uint16_t>((cell & ~mask) | bits);
    return m_connection.write(request.table, request.first, std::span(&cell, 1), m_limits.single_writes_only);
}

} // namespace Modbus
