#pragma once

#include "Frame.h"
#include "HostLookup.h"
#include "Settings.h"
#include "modbus_result.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace Modbus
{

/// The connection to one device: opened when it is first needed, opened anew when it was lost. Not thread-safe.
///
/// Each operation is one request. It takes at most "timeoutMs", the time for a connection that is yet to be opened
/// included. A failure that the device answers itself leaves the connection open. After any other one the
/// connection is closed, so that what may still come is never taken for the answer to the next request. An answer
/// is one only where it names the request's number and unit and the protocol.
class Connection
{
public:
    explicit Connection(Settings const& settings);
    ~Connection();
    Connection(Connection const&) = delete;
    Connection& operator=(Connection const&) = delete;

    /// Reads `cells.size()` cells, at most as many as one request takes; a bit is 0 or 1.
    Outcome read(Table table, std::uint32_t first, std::span<std::uint16_t> cells);
    /// Writes the cells, at most as many as one request takes: as several also where it is one (FC15, FC16), or with
    /// `single` as a single one (FC5, FC6).
    Outcome write(Table table, std::uint32_t first, std::span<std::uint16_t const> cells, bool single);
    /// Gives the bits of a holding register that `mask` names the values that they have in `bits`.
    Outcome write_bits(std::uint32_t address, std::uint16_t mask, std::uint16_t bits);

    /// A note that belongs to the connection and is gone with it: whether the device turned out to know no masked
    /// writes.
    bool lacks_masked_writes() const noexcept { return m_lacks_masked_writes; }
    void set_lacks_masked_writes() noexcept { m_lacks_masked_writes = true; }

    /// Whether the last request failed only in that the device needs longer to carry it out: it must not be repeated.
    bool is_carrying_out() const noexcept { return m_is_carrying_out; }
    /// Whether the last request writes and was sent, but nobody told what became of it.
    bool may_be_done() const noexcept { return m_may_be_done; }

private:
    struct Device;

    /// Success leaves what came in `m_answer`.
    Outcome exchange(Frame request);
    Outcome ensure_open(Deadline deadline);
    Outcome open(Deadline deadline);
    bool set_up();
    /// 0, or why it can't be sent.
    int send(Frame const& request) const noexcept;
    void limit_answer(Deadline deadline) noexcept;
    void close() noexcept;
    bool is_stale() const noexcept;
    Outcome refusal(std::uint8_t exception);
    Outcome failure(int error);
    Outcome broken(std::string const& why);

    Settings m_settings;
    /// The device as messages name it.
    std::string m_name;
    HostLookup m_lookup;
    std::unique_ptr<Device> m_device;
    Frame m_answer;
    /// The number of the last request. It goes on from one connection to the next.
    std::uint16_t m_transaction = 0;
    bool m_is_open = false;
    bool m_lacks_masked_writes = false;
    bool m_is_carrying_out = false;
    bool m_may_be_done = false;
};

} // namespace Modbus
