#include "Configuration/PostgresSchema.h"

#include <array>
#include <charconv>
#include <xxhash.h>

namespace Ravik
{

namespace
{

std::string channel_of(std::string const& schema)
{
    // PostgreSQL refuses longer names of channels.
    constexpr std::size_t longest = 63;
    auto channel = "ravik." + schema;
    if (channel.size() <= longest)
    {
        return channel;
    }
    std::array<char, 16> digits{};
    auto const written =
        std::to_chars(digits.data(), digits.data() + digits.size(), XXH3_64bits(schema.data(), schema.size()), 16);
    return "ravik#" + std::string(digits.data(), written.ptr);
}

} // namespace

PostgresSchema::PostgresSchema(std::string name) : m_name(std::move(name)), m_channel(channel_of(m_name))
{
}

std::string PostgresSchema::quoted() const
{
    return quoted(m_name);
}

std::string PostgresSchema::in(std::string_view sql) const
{
    std::string text;
    for (auto open = sql.find('{'); open != std::string_view::npos; open = sql.find('{'))
    {
        auto const close = sql.find('}', open);
        text.append(sql.substr(0, open)).append(quoted()).append(".").append(sql.substr(open + 1, close - open - 1));
        sql.remove_prefix(close + 1);
    }
    return text.append(sql);
}

std::string PostgresSchema::quoted(std::string_view identifier)
{
    std::string text = "\"";
    for (auto const character : identifier)
    {
        text.append(character == '"' ? 2 : 1, character);
    }
    return text += '"';
}

} // namespace Ravik
