#pragma once

#include "Deadline.h"
#include "modbus_result.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace Modbus
{

/// What carries bytes to one device and back. Not thread-safe.
class Line
{
public:
    struct Received
    {
        /// At least 1 without an error.
        std::size_t size = 0;
        /// As `errno` tells it: `ETIMEDOUT` at the deadline, `ECONNRESET` where the device hung up.
        int error = 0;
    };

    Line() = default;
    Line(Line const&) = delete;
    Line& operator=(Line const&) = delete;
    virtual ~Line() = default;

    /// Whether it is open with nothing on it, as it has to be where no answer is awaited.
    virtual bool is_fresh() const noexcept = 0;
    /// Opens it, where it is closed.
    virtual Outcome open(Deadline deadline) = 0;
    virtual void close() noexcept = 0;
    /// Sends all of it; returns 0, or why that can't be done, as `errno` tells it.
    [[nodiscard]] virtual int send(std::span<std::uint8_t const> bytes) noexcept = 0;
    /// Waits until something is there.
    virtual Received receive(std::span<std::uint8_t> room, Deadline deadline) noexcept = 0;
};

} // namespace Modbus
