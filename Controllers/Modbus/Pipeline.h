#pragma once

#include "Frame.h"
#include "Inbox.h"
#include "Line.h"
#include "RequestPlan.h"
#include "Settings.h"
#include "modbus_result.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Modbus
{

/// The requests that are under way to one device, at most "parallelRequests" of them. Not thread-safe.
///
/// An answer belongs to its request by its number, in whatever order answers come; it is one only where it names the
/// request's unit and the protocol as well. Each request takes at most "timeoutMs" from when it is sent, the time for a
/// connection that is yet to be opened included. A failure that the device answers itself leaves the connection open
/// and concerns its request alone. With any other one the connection is closed, so that what may still come is never
/// taken for the answer to the next request, and all that is under way fails.
class Pipeline
{
public:
    /// What became of a request.
    struct Answer
    {
        Request request;
        Outcome outcome;
        /// Whether it failed only in that the device needs longer to carry it out: it must not be repeated.
        bool is_carrying_out = false;
        /// Whether it writes and was sent, but nobody told what became of it.
        bool may_be_done = false;
    };

    Pipeline(std::unique_ptr<Line> line, Settings const& settings);

    bool is_idle() const noexcept { return m_under_way.empty(); }
    /// Whether the request may be sent before more is answered: it writes no cells, or only others, while nothing is
    /// read, and reads while nothing is written.
    bool takes(Request const& request) const noexcept;
    /// Sends a request, which `frame` asks for. What fails is what `receive` tells of it.
    void send(Request const& request, Frame const& frame);
    /// Waits until it is known what became of one of the requests under way; there has to be one.
    Answer receive();
    /// The cells that the last request brought, where it was a read that succeeded; a bit is 0 or 1.
    void take_cells(Table table, std::span<std::uint16_t> cells) const { m_answer.take_cells(table, cells); }

    /// Forgets what is under way, so that nobody waits for it any more.
    void abandon() noexcept;

    /// A note that belongs to the connection and is gone with it: whether the device turned out to know no masked
    /// writes.
    bool lacks_masked_writes() const noexcept { return m_lacks_masked_writes; }
    void set_lacks_masked_writes() noexcept { m_lacks_masked_writes = true; }

private:
    struct UnderWay
    {
        Request request;
        Frame frame;
        Deadline deadline;
        bool was_sent = false;
    };

    Outcome ensure_open(Deadline deadline);
    void wait_for_more();
    /// What the answer that came tells of its request; nothing where it is none.
    std::optional<Answer> take_answer();
    Answer take_failed();
    Outcome refusal(std::uint8_t exception) const;
    void fail(int error);
    void break_off(std::string const& why);
    void close() noexcept;

    std::unique_ptr<Line> m_line;
    Settings m_settings;
    /// In the order in which they were sent.
    std::vector<UnderWay> m_under_way;
    Inbox m_inbox;
    Frame m_answer;
    /// Why the newest request could not be sent; 0 where it was. Those before it may still be answered.
    int m_send_error = 0;
    /// What became of all that is under way.
    std::optional<Outcome> m_failure;
    /// The number of the last request. It goes on from one connection to the next.
    std::uint16_t m_transaction = 0;
    bool m_lacks_masked_writes = false;
};

} // namespace Modbus
