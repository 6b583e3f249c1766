#include "Inbox.h"

#include <algorithm>

namespace Modbus
{

std::span<std::uint8_t> Inbox::room() noexcept
{
    std::copy(m_bytes.begin() + static_cast<std::ptrdiff_t>(m_begin),
              m_bytes.begin() + static_cast<std::ptrdiff_t>(m_end), m_bytes.begin());
    m_end -= m_begin;
    m_begin = 0;
    return std::span(m_bytes).subspan(m_end);
}

Inbox::Content Inbox::take(Frame& frame) noexcept
{
    auto const received = std::span<std::uint8_t const>(m_bytes).subspan(m_begin, m_end - m_begin);
    if (received.size() < Frame::header_size)
    {
        return Content::PART_OF_FRAME;
    }
    auto const size = Frame::size_of_answer(received.first<Frame::header_size>());
    if (!size)
    {
        return Content::NO_FRAME;
    }
    if (received.size() < *size)
    {
        return Content::PART_OF_FRAME;
    }
    frame = Frame(received.first(*size));
    m_begin += *size;
    return Content::FRAME;
}

} // namespace Modbus
