// The parser of mappings: reads nothing beyond the text, and whatever it accepts stays within a device's addresses.

#include "Address.h"

#include <cstdint>
#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    // A copy of exactly the text's size, so that a read beyond its end is seen.
    std::vector<char> const text(data, data + size);
    std::string_view const mapping(text.data(), text.size());
    auto const parsed = Modbus::parse_address(mapping);
    if (auto const* const error = std::get_if<Modbus::AddressError>(&parsed))
    {
        if (error->position > size || Modbus::describe(*error, mapping).size() <= size)
        {
            std::abort();
        }
        return 0;
    }
    auto const& address = std::get<Modbus::Address>(parsed);
    bool const is_string = address.type == Modbus::Type::STRING;
    if (address.count() == 0 || address.end() > Modbus::table_size || (address.length != 0) != is_string ||
        (Modbus::holds_bits(address.table) && address.count() != 1))
    {
        std::abort();
    }
    return 0;
}
