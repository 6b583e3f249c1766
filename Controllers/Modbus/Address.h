#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace Modbus
{

/// The four tables of a device. Coils and discrete inputs are single bits, the others registers of 16 bits.
enum class Table : std::uint8_t
{
    HOLDING,
    INPUT,
    COIL,
    DISCRETE,
};

constexpr bool holds_bits(Table table) noexcept
{
    return table == Table::COIL || table == Table::DISCRETE;
}

constexpr bool is_writable(Table table) noexcept
{
    return table == Table::HOLDING || table == Table::COIL;
}

enum class Type : std::uint8_t
{
    BOOL,
    INT16,
    UINT16,
    INT32,
    UINT32,
    INT64,
    UINT64,
    REAL32,
    REAL64,
    STRING,
};

/// The number of addresses in each table.
inline constexpr std::uint32_t table_size = 65536;

/// Where a symbol's value stands in a device, and as what. Its cells are the registers or bits that it takes up.
struct Address
{
    static constexpr std::uint8_t whole = 16;

    /// The first cell: a protocol address, counted from zero.
    std::uint16_t first = 0;
    Table table = Table::HOLDING;
    Type type = Type::BOOL;
    /// The one bit of a register that is meant, 0 for the lowest; `whole` for everything else.
    std::uint8_t bit = whole;
    /// Whether the lowest register of several comes first.
    bool swapped = false;
    /// The room of a text in bytes.
    std::uint32_t length = 0;

    /// The number of cells, at least 1.
    std::uint32_t count() const noexcept
    {
        switch (type)
        {
        case Type::INT32:
        case Type::UINT32:
        case Type::REAL32:
            return 2;
        case Type::INT64:
        case Type::UINT64:
        case Type::REAL64:
            return 4;
        case Type::STRING:
            return (length + 1) / 2;
        default:
            return 1;
        }
    }
    /// The cell behind the last one.
    std::uint32_t end() const noexcept { return first + count(); }
    bool is_bit_of_register() const noexcept { return bit != whole; }

    friend bool operator==(Address const&, Address const&) = default;
};

/// What is wrong with a mapping: where, as an index from 0, and what was expected there.
struct AddressError
{
    std::size_t position = 0;
    char const* expected = "";
};

/// Reads a symbol's mapping:
///
///     mapping  = register | bit
///     register = ("holding" | "input") ":" number ( ":" type | "." number [ ":bool" ] )
///     bit      = ("coil" | "discrete") ":" number [ ":bool" ]
///     type     = "bool" | "int16" | "uint16" | string | wide [ ":swapped" ]
///     wide     = "int32" | "uint32" | "int64" | "uint64" | "real32" | "real64"
///     string   = "string[" number "]"
///
/// The number behind the table is the address, decimal, counted from zero (0 to 65535); the whole value has to lie in
/// that range. Behind the point stands the bit of the register, 0 (lowest) to 15; the type of one bit is always bool. A
/// register of type bool is true where it is not 0. A text has room for the given number of bytes, at least 1, two in
/// each register. Values of several registers have the highest register first, with ":swapped" the lowest.
///
/// Letters are lower case and there are no blanks. Pure; allocates nothing.
std::variant<Address, AddressError> parse_address(std::string_view mapping) noexcept;

/// The error as a sentence: "'holding:70000:int16', character 9: expected an address from 0 to 65535".
std::string describe(AddressError const& error, std::string_view mapping);

} // namespace Modbus
