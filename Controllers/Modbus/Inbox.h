#pragma once

#include "Frame.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Modbus
{

/// Takes apart what a device sends, however its bytes arrive: half an answer, or several at once.
class Inbox
{
public:
    enum class Content : std::uint8_t
    {
        /// More has to come before there is one.
        PART_OF_FRAME,
        FRAME,
        /// No frame begins like that.
        NO_FRAME,
    };

    /// Where to put what is received, never empty after `take` found no whole frame; `add` tells how much it was.
    std::span<std::uint8_t> room() noexcept;
    void add(std::size_t size) noexcept { m_end += size; }

    /// Takes out the next frame, where there is a whole one.
    [[nodiscard]] Content take(Frame& frame) noexcept;
    bool is_empty() const noexcept { return m_begin == m_end; }
    void clear() noexcept { m_begin = m_end = 0; }

private:
    /// As many frames as are ever under way.
    std::array<std::uint8_t, 16 * Frame::capacity> m_bytes{};
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
};

} // namespace Modbus
