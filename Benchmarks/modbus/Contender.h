#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Ravik::Benchmarks
{

/// The holding registers that are written or read: `count` of them, `step` addresses apart, and the value of each.
struct Layout
{
    std::size_t count = 0;
    std::size_t step = 1;
    /// Whether all values are 0.
    bool is_blank = false;

    std::size_t address(std::size_t index) const noexcept { return index * step; }
    /// Never 0 but where all are. modbus_serial.js knows the same values.
    std::uint16_t value(std::size_t index) const noexcept
    {
        return is_blank ? std::uint16_t{0} : static_cast<std::uint16_t>(7 * index + 1);
    }
};

enum class Operation : std::uint8_t
{
    WRITE,
    READ,
};

/// One way to write the values of a layout to a device, and to read them. It keeps its connection from its first pass
/// until it is destroyed. Whatever fails is thrown.
class Contender
{
public:
    Contender() = default;
    Contender(Contender const&) = delete;
    Contender& operator=(Contender const&) = delete;
    virtual ~Contender() = default;

    /// Writes all values, or reads them: what is measured.
    virtual void pass(Operation operation) = 0;
    /// What the last pass read, in the order of the layout.
    virtual std::vector<std::uint16_t> values_read() const = 0;
};

/// The whole server, with the recipe management and the Modbus controller; the layout's registers are the symbols of
/// one recipe. The project is made in a temporary folder. So many requests may be under way at once.
std::unique_ptr<Contender> make_ravik(int port, Layout const& layout, int parallel_requests);

/// A loop around libmodbus with the fewest requests that touch no other registers: FC16 and FC3.
std::unique_ptr<Contender> make_bare(int port, Layout const& layout);

/// A loop around libmodbus with a request for each register: FC6 and FC3.
std::unique_ptr<Contender> make_single(int port, Layout const& layout);

} // namespace Ravik::Benchmarks
