#include "Address.h"

#include <algorithm>
#include <array>
#include <optional>

namespace Modbus
{

namespace
{

template <typename T> struct Named
{
    std::string_view name;
    T value;
};
template <typename T> Named(char const*, T) -> Named<T>;

constexpr std::array tables = {Named{"holding", Table::HOLDING}, Named{"input", Table::INPUT},
                               Named{"coil", Table::COIL}, Named{"discrete", Table::DISCRETE}};

constexpr std::array types = {Named{"bool", Type::BOOL},     Named{"int16", Type::INT16},
                              Named{"uint16", Type::UINT16}, Named{"int32", Type::INT32},
                              Named{"uint32", Type::UINT32}, Named{"int64", Type::INT64},
                              Named{"uint64", Type::UINT64}, Named{"real32", Type::REAL32},
                              Named{"real64", Type::REAL64}, Named{"string", Type::STRING}};

constexpr bool is_wide(Type type)
{
    return type >= Type::INT32 && type <= Type::REAL64;
}

constexpr bool ends_name(char character)
{
    return character == ':' || character == '.' || character == '[';
}

/// Reads one mapping from the front. Each step answers whether it succeeded; the first that does not leaves its error.
class Parser
{
public:
    explicit Parser(std::string_view text) noexcept : m_text(text) {}

    std::variant<Address, AddressError> parse() noexcept
    {
        if (table() && place() && type() && end())
        {
            return m_address;
        }
        return m_error;
    }

private:
    bool table() noexcept
    {
        auto const found = one_of(tables);
        if (!found)
        {
            return fail(m_position, "expected holding, input, coil or discrete");
        }
        m_address.table = *found;
        return take(':') || fail(m_position, "expected ':' and an address");
    }

    bool place() noexcept
    {
        auto const start = m_position;
        auto const address = number();
        if (!address || *address >= table_size)
        {
            return fail(start, "expected an address from 0 to 65535");
        }
        m_address.first = static_cast<std::uint16_t>(*address);
        if (holds_bits(m_address.table) || !take('.'))
        {
            return true;
        }
        auto const bit_start = m_position;
        auto const bit = number();
        if (!bit || *bit >= Address::whole)
        {
            return fail(bit_start, "expected a bit from 0 to 15");
        }
        m_address.bit = static_cast<std::uint8_t>(*bit);
        return true;
    }

    bool type() noexcept
    {
        bool const one_bit = holds_bits(m_address.table) || m_address.is_bit_of_register();
        if (!take(':'))
        {
            return one_bit || fail(m_position, "expected ':' and a type");
        }
        auto const start = m_position;
        auto const found = one_of(types);
        if (!found)
        {
            return fail(start, "expected a type: bool, int16, uint16, int32, uint32, int64, uint64, real32, real64 or "
                               "string[n]");
        }
        if (one_bit && *found != Type::BOOL)
        {
            return fail(start, "expected bool, since this is one bit");
        }
        m_address.type = *found;
        return (*found != Type::STRING || length()) && (!is_wide(*found) || order()) && fits(start);
    }

    bool length() noexcept
    {
        if (!take('['))
        {
            return fail(m_position, "expected '[' and the text's length in bytes");
        }
        auto const start = m_position;
        auto const bytes = number();
        if (!bytes || *bytes == 0)
        {
            return fail(start, "expected a length from 1 to 131072");
        }
        m_address.length = *bytes;
        return take(']') || fail(m_position, "expected ']'");
    }

    bool order() noexcept
    {
        if (take(':'))
        {
            constexpr std::string_view swapped = "swapped";
            if (!rest().starts_with(swapped))
            {
                return fail(m_position, "expected swapped");
            }
            m_position += swapped.size();
            m_address.swapped = true;
        }
        return true;
    }

    bool fits(std::size_t start) noexcept
    {
        return m_address.end() <= table_size || fail(start, "expected a type that ends at address 65535 or before");
    }

    bool end() noexcept
    {
        bool const is_swapped = rest().starts_with(":swapped") && !m_address.swapped;
        return m_position == m_text.size() ||
               fail(m_position, is_swapped ? "expected the end, since only numbers of several registers are swapped"
                                           : "expected the end");
    }

    template <typename T, std::size_t N> std::optional<T> one_of(std::array<Named<T>, N> const& names) noexcept
    {
        auto const text = rest();
        std::string_view const word(text.begin(), std::find_if(text.begin(), text.end(), ends_name));
        for (auto const& [name, value] : names)
        {
            if (word == name)
            {
                m_position += word.size();
                return value;
            }
        }
        return {};
    }

    /// A decimal number; nothing where there is none, or one far beyond all that can be meant.
    std::optional<std::uint32_t> number() noexcept
    {
        constexpr std::uint32_t limit = 2 * table_size;
        auto const start = m_position;
        std::uint32_t value = 0;
        for (; m_position < m_text.size() && m_text[m_position] >= '0' && m_text[m_position] <= '9'; ++m_position)
        {
            value = value * 10 + static_cast<std::uint32_t>(m_text[m_position] - '0');
            if (value > limit)
            {
                return {};
            }
        }
        return m_position == start ? std::nullopt : std::optional(value);
    }

    bool take(char character) noexcept
    {
        bool const found = m_position < m_text.size() && m_text[m_position] == character;
        m_position += found ? 1 : 0;
        return found;
    }

    std::string_view rest() const noexcept { return m_text.substr(m_position); }

    bool fail(std::size_t position, char const* expected) noexcept
    {
        m_error = {position, expected};
        return false;
    }

    std::string_view m_text;
    std::size_t m_position = 0;
    Address m_address;
    AddressError m_error;
};

} // namespace

std::uint32_t Address::count() const noexcept
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

std::variant<Address, AddressError> parse_address(std::string_view mapping) noexcept
{
    return Parser(mapping).parse();
}

std::string describe(AddressError const& error, std::string_view mapping)
{
    return "'" + std::string(mapping) + "', character " + std::to_string(error.position + 1) + ": " + error.expected;
}

} // namespace Modbus
