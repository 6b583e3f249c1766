#include "Frame.h"

#include <algorithm>
#include <cassert>

namespace Modbus
{

namespace
{

/// The functions' codes.
namespace Function
{

constexpr std::uint8_t read_coils = 1;
constexpr std::uint8_t read_discrete_inputs = 2;
constexpr std::uint8_t read_holding_registers = 3;
constexpr std::uint8_t read_input_registers = 4;
constexpr std::uint8_t write_coil = 5;
constexpr std::uint8_t write_register = 6;
constexpr std::uint8_t write_coils = 15;
constexpr std::uint8_t write_registers = 16;
constexpr std::uint8_t mask_register = 22;
/// Added to the request's code in the answer of a device that did not carry it out.
constexpr std::uint8_t exception = 0x80;

} // namespace Function

/// Where the parts of a frame stand.
namespace Place
{

constexpr std::size_t transaction = 0;
constexpr std::size_t protocol = 2;
constexpr std::size_t length = 4;
constexpr std::size_t unit = 6;
constexpr std::size_t function = 7;
/// In an answer: the number of bytes that were read, or the exception's code.
constexpr std::size_t byte_count = 8;
/// How many cells a request is for, and in the answer how many were written.
constexpr std::size_t cell_count = 10;

} // namespace Place

std::uint8_t read_function(Table table)
{
    switch (table)
    {
    case Table::COIL:
        return Function::read_coils;
    case Table::DISCRETE:
        return Function::read_discrete_inputs;
    case Table::INPUT:
        return Function::read_input_registers;
    default:
        return Function::read_holding_registers;
    }
}

bool is_read(std::uint8_t function)
{
    return function <= Function::read_input_registers;
}

/// How many bytes so many cells take, as the function packs them.
int packed_size(std::uint8_t function, int cells)
{
    bool const packs_bits = function == Function::read_coils || function == Function::read_discrete_inputs ||
                            function == Function::write_coils;
    return packs_bits ? (cells + 7) / 8 : 2 * cells;
}

} // namespace

Frame::Frame(std::span<std::uint8_t const> received) noexcept : m_size(received.size())
{
    assert(m_size > Place::byte_count && m_size <= capacity);
    std::copy(received.begin(), received.end(), m_bytes.begin());
}

// Requests ------------------------------------------------------------------------------------------------------------

Frame::Frame(std::uint8_t function, std::uint32_t first) : m_size(Place::function)
{
    append(function);
    append_word(first);
}

void Frame::append_word(std::uint32_t word)
{
    append(static_cast<std::uint8_t>(word >> 8));
    append(static_cast<std::uint8_t>(word));
}

Frame Frame::read(Table table, std::uint32_t first, std::size_t count)
{
    Frame frame(read_function(table), first);
    frame.append_word(static_cast<std::uint32_t>(count));
    return frame;
}

Frame Frame::write(Table table, std::uint32_t first, std::span<std::uint16_t const> cells)
{
    auto const function = holds_bits(table) ? Function::write_coils : Function::write_registers;
    Frame frame(function, first);
    frame.append_word(static_cast<std::uint32_t>(cells.size()));
    frame.append(static_cast<std::uint8_t>(packed_size(function, static_cast<int>(cells.size()))));
    if (!holds_bits(table))
    {
        auto* next = std::span(frame.m_bytes).subspan(frame.m_size, 2 * cells.size()).data();
        for (auto const cell : cells)
        {
            *next++ = static_cast<std::uint8_t>(cell >> 8);
            *next++ = static_cast<std::uint8_t>(cell);
        }
        frame.m_size += 2 * cells.size();
        return frame;
    }
    for (std::size_t begin = 0; begin < cells.size(); begin += 8)
    {
        unsigned byte = 0;
        for (std::size_t bit = 0; bit < 8 && begin + bit < cells.size(); ++bit)
        {
            byte |= (cells[begin + bit] != 0 ? 1U : 0U) << bit;
        }
        frame.append(static_cast<std::uint8_t>(byte));
    }
    return frame;
}

Frame Frame::write_single(Table table, std::uint32_t address, std::uint16_t cell)
{
    constexpr std::uint16_t on = 0xFF00;
    Frame frame(holds_bits(table) ? Function::write_coil : Function::write_register, address);
    frame.append_word(!holds_bits(table) ? cell : cell != 0 ? on : 0U);
    return frame;
}

Frame Frame::write_bits(std::uint32_t address, std::uint16_t mask, std::uint16_t bits)
{
    Frame frame(Function::mask_register, address);
    frame.append_word(static_cast<std::uint16_t>(~mask));
    frame.append_word(bits);
    return frame;
}

void Frame::set_header(std::uint16_t transaction, int unit)
{
    auto const length = m_size - Place::unit;
    m_bytes[Place::transaction] = static_cast<std::uint8_t>(transaction >> 8);
    m_bytes[Place::transaction + 1] = static_cast<std::uint8_t>(transaction);
    m_bytes[Place::length + 1] = static_cast<std::uint8_t>(length);
    m_bytes[Place::length] = static_cast<std::uint8_t>(length >> 8);
    m_bytes[Place::unit] = static_cast<std::uint8_t>(unit);
}

bool Frame::writes() const noexcept
{
    return !is_read(m_bytes[Place::function]);
}

std::uint16_t Frame::transaction() const noexcept
{
    return word(Place::transaction);
}

// Answers -------------------------------------------------------------------------------------------------------------

std::optional<std::size_t> Frame::size_of_answer(std::span<std::uint8_t const, header_size> header) noexcept
{
    // The length counts from the unit on.
    auto const size = Place::unit + static_cast<std::size_t>(header[Place::length] << 8 | header[Place::length + 1]);
    return size > Place::byte_count && size <= capacity ? std::optional(size) : std::nullopt;
}

std::optional<std::string> Frame::mismatch(Frame const& request) const
{
    auto const function = request.m_bytes[Place::function];
    if (transaction() != request.transaction())
    {
        return no_answer;
    }
    if (word(Place::protocol) != 0)
    {
        return "what it sent is of the protocol " + std::to_string(word(Place::protocol)) + ", not of 0 (Modbus)";
    }
    if (m_bytes[Place::unit] != request.m_bytes[Place::unit])
    {
        return "the unit " + std::to_string(m_bytes[Place::unit]) + " answered in place of " +
               std::to_string(request.m_bytes[Place::unit]);
    }
    if (m_bytes[Place::function] == (function | Function::exception))
    {
        return std::nullopt;
    }
    bool fits = m_bytes[Place::function] == function;
    if (is_read(function))
    {
        auto const size = packed_size(function, request.word(Place::cell_count));
        fits = fits && m_bytes[Place::byte_count] == size &&
               m_size == Place::byte_count + 1 + static_cast<std::size_t>(size);
    }
    else if (function == Function::write_coils || function == Function::write_registers)
    {
        fits = fits && m_size >= Place::cell_count + 2 && word(Place::cell_count) == request.word(Place::cell_count);
    }
    return fits ? std::nullopt : std::optional<std::string>(no_answer);
}

std::optional<std::uint8_t> Frame::exception() const noexcept
{
    return m_bytes[Place::function] < Function::exception ? std::nullopt : std::optional(m_bytes[Place::byte_count]);
}

void Frame::take_cells(Table table, std::span<std::uint16_t> cells) const
{
    constexpr auto data = Place::byte_count + 1;
    for (std::size_t index = 0; index < cells.size(); ++index)
    {
        cells[index] = static_cast<std::uint16_t>(holds_bits(table) ? m_bytes[data + index / 8] >> index % 8 & 1
                                                                    : word(data + 2 * index));
    }
}

} // namespace Modbus
