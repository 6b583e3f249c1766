#include "RequestRunner.h"

#include <algorithm>
#include <utility>

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

} // namespace

std::optional<Outcome> RequestRunner::run()
{
    while (send_requests(), !m_pipeline.is_idle())
    {
        auto const answer = m_pipeline.receive();
        bool const has_succeeded = answer.outcome.succeeded();
        if (has_succeeded && answer.request.kind == RequestKind::READ)
        {
            m_read.resize(answer.request.count);
            m_pipeline.take_cells(answer.request.table, m_read);
        }
        if (has_succeeded)
        {
            send_requests();
        }
        conclude(answer, m_read);
    }
    return m_given_up;
}

// Requests ------------------------------------------------------------------------------------------------------------

void RequestRunner::send_requests()
{
    while (m_refused.empty() ? has_next() : m_pipeline.is_idle())
    {
        repeat_refused();
        auto const request = m_next.back();
        if (m_given_up)
        {
            m_next.pop_back();
            report(request, *m_given_up, {});
            continue;
        }
        if (is_stopped())
        {
            m_next.pop_back();
            leave(request);
            continue;
        }
        bool const alone = is_alone(request);
        if (alone ? !m_pipeline.is_idle() : !m_pipeline.takes(request))
        {
            return;
        }
        m_next.pop_back();
        alone ? run_alone(request) : m_pipeline.send(request, frame_for(request));
    }
}

void RequestRunner::leave(Request const& request)
{
    for (auto position = request.begin; position < request.end; ++position)
    {
        m_accesses.leave(m_planner.access(position));
    }
}

bool RequestRunner::has_next()
{
    if (m_next.empty())
    {
        if (auto const planned = m_planner.next())
        {
            m_next.push_back(*planned);
        }
    }
    return !m_next.empty();
}

void RequestRunner::repeat_refused()
{
    // The first one comes to stand last.
    std::sort(m_refused.begin(), m_refused.end(),
              [](Request const& left, Request const& right) { return left.begin > right.begin; });
    for (auto const& request : m_refused)
    {
        auto const parts = m_planner.split(request);
        m_next.insert(m_next.end(), parts.rbegin(), parts.rend());
    }
    m_refused.clear();
}

bool RequestRunner::is_alone(Request const& request) const
{
    switch (request.kind)
    {
    case RequestKind::READ:
        return request.count > m_limits.per_read(request.table);
    case RequestKind::WRITE:
        return request.count > m_limits.per_write(request.table);
    default:
        return true;
    }
}

Frame RequestRunner::frame_for(Request const& request) const
{
    // Writes keep their order in the plan, so the cells of those that share a request follow one another.
    return request.kind == RequestKind::READ
               ? Frame::read(request.table, request.first, request.count)
               : write_frame(request.table, request.first,
                             m_accesses.cells(m_planner.access(request.begin)).first(request.count));
}

Frame RequestRunner::write_frame(Table table, std::uint32_t first, std::span<std::uint16_t const> cells) const
{
    return m_limits.single_writes_only ? Frame::write_single(table, first, cells.front())
                                       : Frame::write(table, first, cells);
}

// Answers -------------------------------------------------------------------------------------------------------------

void RequestRunner::conclude(Answer const& answer, std::span<std::uint16_t const> cells)
{
    auto const& [request, outcome, is_carrying_out, may_be_done] = answer;
    if (concerns_whole_device(outcome.result))
    {
        if (!m_given_up)
        {
            m_given_up = Outcome{outcome.result, RavikSrv::not_tried + outcome.text};
        }
        auto const* const more = may_be_done ? "; it may have been written all the same" : "";
        report(request, {outcome.result, outcome.text + more}, {});
    }
    else if (!outcome.succeeded() && !is_carrying_out && request.end - request.begin > 1)
    {
        m_refused.push_back(request);
    }
    else
    {
        report(request, outcome, cells);
    }
}

void RequestRunner::report(Request const& request, Outcome const& outcome, std::span<std::uint16_t const> cells)
{
    bool const brings_cells = request.kind == RequestKind::READ && outcome.succeeded();
    for (auto position = request.begin; position < request.end; ++position)
    {
        auto const index = m_planner.access(position);
        auto const& address = m_accesses[index].address;
        m_accesses.report(index, outcome,
                          brings_cells ? cells.subspan(address.first - request.first, address.count())
                                       : std::span<std::uint16_t const>());
    }
    if (m_watcher != nullptr)
    {
        m_watcher->note_done(request.end - request.begin);
    }
}

// Several frames ------------------------------------------------------------------------------------------------------

void RequestRunner::run_alone(Request const& request)
{
    std::vector<std::uint16_t> cells;
    auto const answer = request.kind == RequestKind::READ    ? read_in_pieces(request, cells)
                        : request.kind == RequestKind::WRITE ? write_in_pieces(request)
                                                             : write_bits_of_register(request);
    conclude(answer, cells);
}

RequestRunner::Answer RequestRunner::exchange(Request const& request, Frame const& frame)
{
    m_pipeline.send(request, frame);
    return m_pipeline.receive();
}

RequestRunner::Answer RequestRunner::read_in_pieces(Request const& request, std::vector<std::uint16_t>& cells)
{
    cells.resize(request.count);
    Answer answer;
    auto const limit = m_limits.per_read(request.table);
    for (std::uint32_t begin = 0; begin < request.count && answer.outcome.succeeded(); begin += limit)
    {
        auto const piece = std::span(cells).subspan(begin, std::min(limit, request.count - begin));
        answer = exchange(request, Frame::read(request.table, request.first + begin, piece.size()));
        if (answer.outcome.succeeded())
        {
            m_pipeline.take_cells(request.table, piece);
        }
    }
    return answer;
}

RequestRunner::Answer RequestRunner::write_in_pieces(Request const& request)
{
    auto const cells = m_accesses.cells(m_planner.access(request.begin));
    Answer answer;
    auto const limit = m_limits.per_write(request.table);
    for (std::uint32_t begin = 0; begin < request.count && answer.outcome.succeeded(); begin += limit)
    {
        auto const piece = cells.subspan(begin, std::min(limit, request.count - begin));
        answer = exchange(request, write_frame(request.table, request.first + begin, piece));
    }
    return answer;
}

RequestRunner::Answer RequestRunner::write_bits_of_register(Request const& request)
{
    unsigned mask = 0;
    unsigned bits = 0;
    for (auto position = request.begin; position < request.end; ++position)
    {
        auto const index = m_planner.access(position);
        mask |= 1U << m_accesses[index].address.bit;
        bits |= m_accesses.cells(index).front();
    }
    if (!m_limits.single_writes_only && !m_pipeline.lacks_masked_writes())
    {
        auto answer = exchange(request, Frame::write_bits(request.first, static_cast<std::uint16_t>(mask),
                                                          static_cast<std::uint16_t>(bits)));
        if (answer.outcome.result != ModbusResult::ILLEGAL_FUNCTION)
        {
            return answer;
        }
        m_pipeline.set_lacks_masked_writes();
    }
    auto answer = exchange(request, Frame::read(request.table, request.first, 1));
    if (!answer.outcome.succeeded())
    {
        return answer;
    }
    std::uint16_t cell = 0;
    m_pipeline.take_cells(request.table, std::span(&cell, 1));
    cell = static_cast<std::uint16_t>((cell & ~mask) | bits);
    return exchange(request, write_frame(request.table, request.first, std::span(&cell, 1)));
}

} // namespace Modbus
