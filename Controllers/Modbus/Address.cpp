#include "Address.h"

#include <algorithm>
#include <array>
#include <utility>

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

/// More than any number of a mapping.
constexpr std::uint32_t far_beyond = 2 * table_size + 1;

/// Reads one mapping from the front. Each step answers whether it succeeded; the first that does not leaves its error.
class Parser
{
public:
    explicit Parser(std::string_view text) noexcept
        : m_begin(text.data()), m_end(text.data() + text.size()), m_next(m_begin)
    {
    }

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
        if (!one_of<tables>(m_address.table))
        {
            return fail(m_next, "expected holding, input, coil or discrete");
        }
        return take(':') || fail(m_next, "expected ':' and an address");
    }

    bool place() noexcept
    {
        auto const* const start = m_next;
        auto const address = number();
        if (address >= table_size)
        {
            return fail(start, "expected an address from 0 to 65535");
        }
        m_address.first = static_cast<std::uint16_t>(address);
        if (holds_bits(m_address.table) || !take('.'))
        {
            return true;
        }
        auto const* const bit_start = m_next;
        auto const bit = number();
        if (bit >= Address::whole)
        {
            return fail(bit_start, "expected a bit from 0 to 15");
        }
        m_address.bit = static_cast<std::uint8_t>(bit);
        return true;
    }

    bool type() noexcept
    {
        bool const one_bit = holds_bits(m_address.table) || m_address.is_bit_of_register();
        if (!take(':'))
        {
            return one_bit || fail(m_next, "expected ':' and a type");
        }
        auto const* const start = m_next;
        auto& type = m_address.type;
        if (!one_of<types>(type))
        {
            return fail(start, "expected a type: bool, int16, uint16, int32, uint32, int64, uint64, real32, real64 or "
                               "string[n]");
        }
        if (one_bit && type != Type::BOOL)
        {
            return fail(start, "expected bool, since this is one bit");
        }
        return (type != Type::STRING || length()) && (!is_wide(type) || order()) && fits(start);
    }

    bool length() noexcept
    {
        if (!take('['))
        {
            return fail(m_next, "expected '[' and the text's length in bytes");
        }
        auto const* const start = m_next;
        auto const bytes = number();
        if (bytes == 0 || bytes >= far_beyond)
        {
            return fail(start, "expected a length from 1 to 131072");
        }
        m_address.length = bytes;
        return take(']') || fail(m_next, "expected ']'");
    }

    bool order() noexcept
    {
        if (take(':'))
        {
            constexpr std::string_view swapped = "swapped";
            if (!rest().starts_with(swapped))
            {
                return fail(m_next, "expected swapped");
            }
            m_next += swapped.size();
            m_address.swapped = true;
        }
        return true;
    }

    bool fits(char const* start) noexcept
    {
        return m_address.end() <= table_size || fail(start, "expected a type that ends at address 65535 or before");
    }

    bool end() noexcept
    {
        bool const is_swapped = rest().starts_with(":swapped") && !m_address.swapped;
        return m_next == m_end ||
               fail(m_next, is_swapped ? "expected the end, since only numbers of several registers are swapped"
                                       : "expected the end");
    }

    /// Takes the value of the one of `names` that comes next. Each of them is a constant of its own in the comparison,
    /// which needs no call then.
    template <auto const& names, typename T> bool one_of(T& value) noexcept
    {
        return [&]<std::size_t... index>(std::index_sequence<index...>)
        {
            return (take<names, index>(value) || ...);
        }
        (std::make_index_sequence<names.size()>());
    }

    template <auto const& names, std::size_t index, typename T> bool take(T& value) noexcept
    {
        constexpr auto one = names[index];
        value = one.value;
        return take_word(one.name);
    }

    bool take_word(std::string_view word) noexcept
    {
        auto const text = rest();
        bool const found = text.starts_with(word) && (text.size() == word.size() || ends_name(text[word.size()]));
        m_next += found ? word.size() : 0;
        return found;
    }

    /// A decimal number; `far_beyond` where there is none, or one beyond all that can be meant.
    std::uint32_t number() noexcept
    {
        auto const* next = m_next;
        std::uint32_t value = 0;
        for (; next != m_end && *next >= '0' && *next <= '9' && value < far_beyond; ++next)
        {
            value = value * 10 + static_cast<std::uint32_t>(*next - '0');
        }
        bool const is_one = next != m_next;
        m_next = next;
        return is_one ? std::min(value, far_beyond) : far_beyond;
    }

    bool take(char character) noexcept
    {
        bool const found = m_next != m_end && *m_next == character;
        m_next += found ? 1 : 0;
        return found;
    }

    std::string_view rest() const noexcept { return {m_next, m_end}; }

    bool fail(char const* place, char const* expected) noexcept
    {
        m_error = {static_cast<std::size_t>(place - m_begin), expected};
        return false;
    }

    char const* m_begin;
    char const* m_end;
    char const* m_next;
    Address m_address;
    AddressError m_error;
};

} // namespace

std::variant<Address, AddressError> parse_address(std::string_view mapping) noexcept
{
    return Parser(mapping).parse();
}

std::string describe(AddressError const& error, std::string_view mapping)
{
    return "'" + std::string(mapping) + "', character " + std::to_string(error.position + 1) + ": " + error.expected;
}

} // namespace Modbus
