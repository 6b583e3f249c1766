#pragma once

#include "HostLookup.h"
#include "Line.h"
#include "Settings.h"
#include "Socket.h"

namespace Modbus
{

/// The TCP connection to one device.
class Connection : public Line
{
public:
    explicit Connection(Settings const& settings);

    bool is_fresh() const noexcept override;
    Outcome open(Deadline deadline) override;
    void close() noexcept override { m_socket = Socket(); }
    [[nodiscard]] int send(std::span<std::uint8_t const> bytes) noexcept override;
    Received receive(std::span<std::uint8_t> room, Deadline deadline) noexcept override;

private:
    Settings m_settings;
    HostLookup m_lookup;
    Socket m_socket;
    /// Whether what came last came promptly.
    bool m_is_prompt = false;
};

} // namespace Modbus
