#pragma once

#include "Address.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace Modbus
{

/// A request or an answer as it goes over the wire: a header, the function's code, and what the function takes or
/// gives.
class Frame
{
public:
    static constexpr std::size_t capacity = 260;
    static constexpr std::size_t header_size = 7;

    /// A frame that is yet to be received.
    Frame() = default;
    /// What was received: a header and at least two bytes, at most `capacity`.
    explicit Frame(std::span<std::uint8_t const> received) noexcept;
    // Requests, for as many cells as one takes; the header is yet to come.
    static Frame read(Table table, std::uint32_t first, std::size_t count);
    /// A bit is written where its cell is not 0.
    static Frame write(Table table, std::uint32_t first, std::span<std::uint16_t const> cells);
    static Frame write_single(Table table, std::uint32_t address, std::uint16_t cell);
    /// Gives the bits of a holding register that `mask` names the values that they have in `bits`.
    static Frame write_bits(std::uint32_t address, std::uint16_t mask, std::uint16_t bits);

    /// Completes a request's header: its number, by which its answer is known, and the unit that it is for.
    void set_header(std::uint16_t transaction, int unit);

    std::span<std::uint8_t const> bytes() const noexcept { return std::span(m_bytes).first(m_size); }
    bool writes() const noexcept;
    /// The number by which a request and its answer know each other.
    std::uint16_t transaction() const noexcept;

    /// The size of an answer with this header; none where no answer has such a one.
    static std::optional<std::size_t> size_of_answer(std::span<std::uint8_t const, header_size> header) noexcept;
    /// Why this, which was received, is no answer to the request, for a person; none where it is.
    std::optional<std::string> mismatch(Frame const& request) const;
    static constexpr auto no_answer = "what it sent is no answer to the request";
    /// The code with which an answer tells that the request was not carried out; none where it was.
    std::optional<std::uint8_t> exception() const noexcept;
    /// The cells of an answer to a read; a bit is 0 or 1.
    void take_cells(Table table, std::span<std::uint16_t> cells) const;

private:
    Frame(std::uint8_t function, std::uint32_t first);
    void append(std::uint8_t byte) { m_bytes.at(m_size++) = byte; }
    void append_word(std::uint32_t word);
    std::uint16_t word(std::size_t place) const noexcept
    {
        return static_cast<std::uint16_t>(m_bytes[place] << 8 | m_bytes[place + 1]);
    }

    std::array<std::uint8_t, capacity> m_bytes{};
    std::size_t m_size = 0;
};

} // namespace Modbus
