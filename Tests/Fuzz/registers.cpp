// The decoding of registers. An input is a mapping, a zero byte, and what a device sends. What is decoded has to be
// encoded again, and then to mean the same: so nothing is read or written past a buffer on either way.

#include "Registers.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    auto const* const end = data + size;
    auto const* const separator = std::find(data, end, 0);
    std::vector<char> const text(data, separator);
    auto const parsed = Modbus::parse_address({text.data(), text.size()});
    auto const* const address = std::get_if<Modbus::Address>(&parsed);
    if (address == nullptr || separator == end)
    {
        return 0;
    }
    std::vector<std::uint16_t> cells(address->count());
    auto const* next = separator + 1;
    for (auto& cell : cells)
    {
        for (int byte = 0; byte < 2 && next != end; ++byte)
        {
            cell = static_cast<std::uint16_t>(cell << 8 | *next++);
        }
    }
    RavikSrv::Value value;
    if (!Modbus::decode(*address, cells, value).succeeded())
    {
        return value.isset() ? (std::abort(), 0) : 0;
    }
    std::vector<std::uint16_t> written(address->count());
    RavikSrv::Value again;
    if (!Modbus::encode(*address, value, written).succeeded() ||
        !Modbus::decode(*address, written, again).succeeded() || again != value)
    {
        std::abort();
    }
    return 0;
}
