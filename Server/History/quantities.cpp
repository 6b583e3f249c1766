#include "History/quantities.h"

#include <array>
#include <charconv>
#include <string_view>
#include <utility>

namespace Ravik
{

namespace
{

struct Unit
{
    std::string_view name;
    std::uint64_t size;
};

constexpr std::array<Unit, 5> spans{
    {{"second", 1}, {"minute", 60}, {"hour", 3600}, {"day", 86'400}, {"week", 604'800}}};
constexpr std::array<Unit, 2> intervals{{{"ms", 1}, {"s", 1000}}};
constexpr std::array<Unit, 3> sizes{{{"KiB", 1U << 10U}, {"MiB", 1U << 20U}, {"GiB", 1U << 30U}}};

/// The number that the text begins with, 0 where it is none, and the unit behind it and a blank.
std::pair<std::uint64_t, std::string_view> split(std::string const& text)
{
    std::uint64_t number = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    auto unit = std::string_view(text).substr(static_cast<std::size_t>(end - text.data()));
    if (error != std::errc() || !unit.starts_with(' '))
    {
        return {};
    }
    unit.remove_prefix(1);
    return {number, unit};
}

template <typename Units>
std::optional<std::uint64_t> product(std::uint64_t number, std::string_view name, Units const& units,
                                     std::uint64_t most)
{
    for (auto const& unit : units)
    {
        if (unit.name == name && number > 0 && number <= most / unit.size)
        {
            return number * unit.size;
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<std::chrono::seconds> read_span(std::string const& text)
{
    constexpr std::uint64_t century = 36'525ULL * 86'400;
    auto [number, name] = split(text);
    if (name.ends_with('s'))
    {
        name.remove_suffix(1);
    }
    auto const seconds = product(number, name, spans, century);
    return seconds ? std::optional(std::chrono::seconds(*seconds)) : std::nullopt;
}

std::optional<std::chrono::milliseconds> read_interval(std::string const& text)
{
    constexpr std::uint64_t day = 86'400'000;
    auto const [number, name] = split(text);
    auto const interval = product(number, name, intervals, day);
    return interval ? std::optional(std::chrono::milliseconds(*interval)) : std::nullopt;
}

std::optional<std::uint64_t> read_size(std::string const& text)
{
    auto const [number, name] = split(text);
    return product(number, name, sizes, std::uint64_t{1} << 40U);
}

} // namespace Ravik
