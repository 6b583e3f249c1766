#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Ravik
{

/// The names of a library's objects.
class PostgresSchema
{
public:
    explicit PostgresSchema(std::string name);

    std::string const& name() const noexcept { return m_name; }
    /// As SQL writes it.
    std::string quoted() const;
    /// SQL with each {TABLE} replaced by the table's name in the schema.
    std::string in(std::string_view sql) const;
    /// The channel of its notifications.
    std::string const& channel() const noexcept { return m_channel; }

    static std::string quoted(std::string_view identifier);

private:
    std::string m_name;
    std::string m_channel;
};

} // namespace Ravik
