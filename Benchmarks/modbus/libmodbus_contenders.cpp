#include "Contender.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <string>

#include <modbus/modbus.h>

namespace Ravik::Benchmarks
{

namespace
{

struct Closer
{
    void operator()(modbus_t* device) const
    {
        modbus_close(device);
        modbus_free(device);
    }
};

/// Neighbouring registers that one request writes or reads.
struct Piece
{
    int address;
    std::size_t begin;
    int count;
};

std::vector<Piece> pieces_of(Layout const& layout, std::size_t most)
{
    std::vector<Piece> pieces;
    for (std::size_t begin = 0; begin < layout.count;)
    {
        auto const count = layout.step == 1 ? std::min(most, layout.count - begin) : 1;
        pieces.push_back({static_cast<int>(layout.address(begin)), begin, static_cast<int>(count)});
        begin += count;
    }
    return pieces;
}

class LibmodbusContender : public Contender
{
public:
    LibmodbusContender(int port, Layout const& layout, std::size_t most_written, std::size_t most_read, bool is_single)
        : m_device(modbus_new_tcp("127.0.0.1", port)), m_writes(pieces_of(layout, most_written)),
          m_reads(pieces_of(layout, most_read)), m_read(layout.count), m_is_single(is_single)
    {
        for (std::size_t index = 0; index < layout.count; ++index)
        {
            m_values.push_back(layout.value(index));
        }
        check(modbus_connect(m_device.get()), 0);
    }

    void pass(Operation operation) override
    {
        if (operation == Operation::READ)
        {
            for (auto const& piece : m_reads)
            {
                auto* const cells = m_read.data() + piece.begin;
                check(modbus_read_registers(m_device.get(), piece.address, piece.count, cells), piece.count);
            }
            return;
        }
        for (auto const& piece : m_writes)
        {
            auto const* const cells = m_values.data() + piece.begin;
            check(m_is_single ? modbus_write_register(m_device.get(), piece.address, *cells)
                              : modbus_write_registers(m_device.get(), piece.address, piece.count, cells),
                  piece.count);
        }
    }

    std::vector<std::uint16_t> values_read() const override { return m_read; }

private:
    static void check(int answer, int expected)
    {
        if (answer != expected)
        {
            throw std::runtime_error(std::string("libmodbus: ") + modbus_strerror(errno));
        }
    }

    std::unique_ptr<modbus_t, Closer> m_device;
    std::vector<Piece> m_writes;
    std::vector<Piece> m_reads;
    std::vector<std::uint16_t> m_values;
    std::vector<std::uint16_t> m_read;
    bool m_is_single;
};

} // namespace

std::unique_ptr<Contender> make_bare(int port, Layout const& layout)
{
    return std::make_unique<LibmodbusContender>(port, layout, MODBUS_MAX_WRITE_REGISTERS, MODBUS_MAX_READ_REGISTERS,
                                                false);
}

std::unique_ptr<Contender> make_single(int port, Layout const& layout)
{
    return std::make_unique<LibmodbusContender>(port, layout, 1, 1, true);
}

} // namespace Ravik::Benchmarks
