#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Ravik
{

/// A statement for PostgreSQL with the values of its parameters $1, $2, …, which are given in this order. They travel
/// in binary form: nothing has to be escaped, not in arrays either.
class PostgresStatement
{
public:
    /// A value as the protocol carries it.
    struct Parameter
    {
        /// The number of its type in PostgreSQL's catalogue.
        unsigned type = 0;
        std::string bytes;
    };

    explicit PostgresStatement(std::string sql) : m_sql(std::move(sql)) {}

    /// Of a statement that a connection runs again and again: it is parsed and planned once.
    PostgresStatement& kept() noexcept
    {
        m_is_kept = true;
        return *this;
    }

    PostgresStatement& text(std::string_view value);
    PostgresStatement& number(std::int64_t value);

    // Arrays, a column each: `field` returns the value of an item.

    template <typename Items, typename Field> PostgresStatement& texts(Items const& items, Field field)
    {
        begin_array(text_array, text_type, items.size());
        for (auto const& item : items)
        {
            add_element(std::optional<std::string_view>(field(item)));
        }
        return *this;
    }
    template <typename Items, typename Field> PostgresStatement& numbers(Items const& items, Field field)
    {
        begin_array(number_array, number_type, items.size());
        for (auto const& item : items)
        {
            add_element(big_endian(field(item)));
        }
        return *this;
    }
    template <typename Items, typename Field> PostgresStatement& flags(Items const& items, Field field)
    {
        begin_array(flag_array, flag_type, items.size());
        for (auto const& item : items)
        {
            add_element(std::string_view(field(item) ? "\1" : "\0", 1));
        }
        return *this;
    }

    std::string const& sql() const noexcept { return m_sql; }
    std::vector<Parameter> const& parameters() const noexcept { return m_parameters; }
    bool is_kept() const noexcept { return m_is_kept; }

private:
    static constexpr unsigned flag_type = 16;
    static constexpr unsigned number_type = 20;
    static constexpr unsigned text_type = 25;
    static constexpr unsigned flag_array = 1000;
    static constexpr unsigned text_array = 1009;
    static constexpr unsigned number_array = 1016;

    static std::string big_endian(std::int64_t value);
    void begin_array(unsigned type, unsigned element_type, std::size_t size);
    void add_element(std::optional<std::string_view> bytes);

    std::string m_sql;
    std::vector<Parameter> m_parameters;
    bool m_is_kept = false;
};

} // namespace Ravik
