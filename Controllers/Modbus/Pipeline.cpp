#include "Pipeline.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cerrno>
#include <system_error>
#include <utility>

namespace Modbus
{

namespace
{

/// What the device answered instead of carrying out the request.
struct DeviceException
{
    std::uint8_t code;
    ModbusResult result;
    char const* text;
};

/// The device needs longer to carry the request out.
constexpr std::uint8_t acknowledge = 5;

constexpr std::array device_exceptions = {
    DeviceException{1, ModbusResult::ILLEGAL_FUNCTION,
                    R"(does not know this kind of request (see "singleWritesOnly"))"},
    DeviceException{2, ModbusResult::ILLEGAL_DATA_ADDRESS, "has nothing at this address"},
    DeviceException{3, ModbusResult::ILLEGAL_DATA_VALUE,
                    R"(does not accept the value or so many at once (see "registersPerRead", "registersPerWrite"))"},
    DeviceException{4, ModbusResult::DEVICE_FAILURE, "failed to carry out the request"},
    DeviceException{acknowledge, ModbusResult::DEVICE_BUSY, "has taken the request, but needs longer to carry it out"},
    DeviceException{6, ModbusResult::DEVICE_BUSY, "is busy"},
    DeviceException{7, ModbusResult::DEVICE_FAILURE, "can't carry out the request"},
    DeviceException{8, ModbusResult::DEVICE_FAILURE, "reports a fault of its memory"},
    DeviceException{10, ModbusResult::GATEWAY_TARGET_FAILED, "is a gateway without a way to the unit"},
    DeviceException{11, ModbusResult::GATEWAY_TARGET_FAILED, "is a gateway whose unit does not answer"},
};

constexpr DeviceException unknown_exception = {0, ModbusResult::DEVICE_FAILURE, "answered with an unknown exception"};

bool writes(Request const& request)
{
    return request.kind != RequestKind::READ;
}

/// Whether it matters which of the two a device carries out first.
bool depend_on_order(Request const& one, Request const& other)
{
    return writes(one) != writes(other) ||
           (writes(one) && one.table == other.table && one.first < other.first + other.count &&
            other.first < one.first + one.count);
}

} // namespace

Pipeline::Pipeline(std::unique_ptr<Line> line, Settings const& settings) : m_line(std::move(line)), m_settings(settings)
{
    m_under_way.reserve(settings.parallel_requests);
}

bool Pipeline::takes(Request const& request) const noexcept
{
    return m_under_way.size() < m_settings.parallel_requests && !m_failure && m_send_error == 0 &&
           std::none_of(m_under_way.begin(), m_under_way.end(),
                        [&](UnderWay const& each) { return depend_on_order(each.request, request); });
}

// Sending -------------------------------------------------------------------------------------------------------------

void Pipeline::send(Request const& request, Frame const& frame)
{
    auto const deadline = Deadline::clock::now() + m_settings.timeout;
    m_under_way.push_back({request, frame, deadline});
    if (auto opened = ensure_open(deadline); !opened.succeeded())
    {
        m_failure = std::move(opened);
        return;
    }
    auto& own = m_under_way.back();
    own.frame.set_header(++m_transaction, m_settings.unit);
    own.was_sent = true;
    m_send_error = m_line->send(own.frame.bytes());
}

Outcome Pipeline::ensure_open(Deadline deadline)
{
    bool const awaits_answers = m_under_way.size() > 1;
    if (awaits_answers || (m_inbox.is_empty() && m_line->is_fresh()))
    {
        return {};
    }
    close();
    return m_line->open(deadline);
}

// Receiving -----------------------------------------------------------------------------------------------------------

Pipeline::Answer Pipeline::receive()
{
    assert(!is_idle());
    while (!m_failure)
    {
        switch (m_inbox.take(m_answer))
        {
        case Inbox::Content::FRAME:
            if (auto answer = take_answer())
            {
                return *std::move(answer);
            }
            break;
        case Inbox::Content::PART_OF_FRAME:
            wait_for_more();
            break;
        case Inbox::Content::NO_FRAME:
            break_off(Frame::no_answer);
            break;
        }
    }
    return take_failed();
}

void Pipeline::wait_for_more()
{
    if (m_send_error != 0 && m_under_way.size() == 1)
    {
        fail(m_send_error);
        return;
    }
    auto const received = m_line->receive(m_inbox.room(), m_under_way.front().deadline);
    if (received.error != 0)
    {
        fail(received.error);
        return;
    }
    m_inbox.add(received.size);
}

std::optional<Pipeline::Answer> Pipeline::take_answer()
{
    auto const asked =
        std::find_if(m_under_way.begin(), m_under_way.end(),
                     [&](UnderWay const& each) { return each.frame.transaction() == m_answer.transaction(); });
    auto const why = asked == m_under_way.end() ? Frame::no_answer : m_answer.mismatch(asked->frame);
    if (why)
    {
        break_off(*why);
        return std::nullopt;
    }
    Answer answer{.request = asked->request, .outcome = {}};
    m_under_way.erase(asked);
    if (auto const exception = m_answer.exception())
    {
        answer.outcome = refusal(*exception);
        answer.is_carrying_out = *exception == acknowledge;
    }
    return answer;
}

Pipeline::Answer Pipeline::take_failed()
{
    auto const& oldest = m_under_way.front();
    Answer answer{
        .request = oldest.request, .outcome = *m_failure, .may_be_done = oldest.was_sent && oldest.frame.writes()};
    m_under_way.erase(m_under_way.begin());
    if (is_idle())
    {
        m_failure.reset();
    }
    return answer;
}

Outcome Pipeline::refusal(std::uint8_t exception) const
{
    auto const* const known = std::find_if(device_exceptions.begin(), device_exceptions.end(),
                                           [&](DeviceException const& one) { return one.code == exception; });
    auto const& meant = known == device_exceptions.end() ? unknown_exception : *known;
    return {meant.result, "The device " + m_settings.device_name() + " " + meant.text};
}

void Pipeline::fail(int error)
{
    if (error != ETIMEDOUT)
    {
        break_off(std::generic_category().message(error));
        return;
    }
    close();
    m_failure = Outcome{ModbusResult::TIMEOUT, "The device " + m_settings.device_name() + " did not answer within " +
                                                   std::to_string(m_settings.timeout.count()) + " ms"};
}

void Pipeline::break_off(std::string const& why)
{
    close();
    m_failure =
        Outcome{ModbusResult::CONNECTION_LOST, "The connection to " + m_settings.device_name() + " broke: " + why};
}

void Pipeline::close() noexcept
{
    m_line->close();
    m_inbox.clear();
    m_send_error = 0;
    m_lacks_masked_writes = false;
}

void Pipeline::abandon() noexcept
{
    if (!is_idle())
    {
        close();
        m_under_way.clear();
        m_failure.reset();
    }
}

} // namespace Modbus
