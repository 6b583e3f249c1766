#include "Configuration/PostgresStatement.h"

#include <limits>

namespace Ravik
{

namespace
{

template <typename Number> void append_big_endian(std::string& bytes, Number number)
{
    for (int shift = std::numeric_limits<Number>::digits - 8; shift >= 0; shift -= 8)
    {
        bytes += static_cast<char>(number >> static_cast<unsigned>(shift));
    }
}

} // namespace

PostgresStatement& PostgresStatement::text(std::string_view value)
{
    m_parameters.push_back({.type = text_type, .bytes = std::string(value)});
    return *this;
}

PostgresStatement& PostgresStatement::number(std::int64_t value)
{
    m_parameters.push_back({.type = number_type, .bytes = big_endian(value)});
    return *this;
}

std::string PostgresStatement::big_endian(std::int64_t value)
{
    std::string bytes;
    append_big_endian(bytes, static_cast<std::uint64_t>(value));
    return bytes;
}

void PostgresStatement::begin_array(unsigned type, unsigned element_type, std::size_t size)
{
    // The number of dimensions (none where it is empty), whether there are nulls, the elements' type; then the size and
    // the first index of the dimension.
    auto& bytes = m_parameters.emplace_back(Parameter{.type = type, .bytes = {}}).bytes;
    append_big_endian<std::uint32_t>(bytes, size == 0 ? 0 : 1);
    append_big_endian<std::uint32_t>(bytes, 1);
    append_big_endian<std::uint32_t>(bytes, element_type);
    if (size != 0)
    {
        append_big_endian<std::uint32_t>(bytes, static_cast<std::uint32_t>(size));
        append_big_endian<std::uint32_t>(bytes, 1);
    }
}

void PostgresStatement::add_element(std::optional<std::string_view> bytes)
{
    auto& array = m_parameters.back().bytes;
    append_big_endian<std::uint32_t>(array, bytes ? static_cast<std::uint32_t>(bytes->size()) : 0xFFFFFFFF);
    array.append(bytes.value_or(std::string_view()));
}

} // namespace Ravik
