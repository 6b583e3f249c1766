#include "Http/Message.h"

#include <algorithm>

namespace Ravik::Service
{
namespace
{

std::size_t count_in(Fields const& fields, std::string_view name)
{
    return static_cast<std::size_t>(
        std::count_if(fields.begin(), fields.end(), [&](auto const& field) { return field.first == name; }));
}

std::string const* only_one(Fields const& fields, std::string_view name)
{
    auto const is_named = [&](auto const& field) { return field.first == name; };
    auto const found = std::find_if(fields.begin(), fields.end(), is_named);
    bool const is_only = found != fields.end() && std::none_of(found + 1, fields.end(), is_named);
    return is_only ? &found->second : nullptr;
}

} // namespace

std::optional<std::string_view> RequestHead::field(std::string_view name) const
{
    auto const* const found = only_one(fields, name);
    return found ? std::optional<std::string_view>(*found) : std::nullopt;
}

std::size_t RequestHead::count(std::string_view name) const
{
    return count_in(fields, name);
}

std::optional<std::string> RequestHead::parameter(std::string_view name) const
{
    auto const* const found = only_one(query, name);
    return found ? std::optional<std::string>(*found) : std::nullopt;
}

} // namespace Ravik::Service
