#include "Json/Shapes.h"

#include "Json/Json.h"

#include <functional>
#include <random>
#include <utility>

namespace Ravik::Json
{

using RavikSrv::Value;

std::size_t Shapes::hash(Names const& names, std::size_t first)
{
    constexpr std::size_t odd = 0x9E3779B97F4A7C15U;
    // Nobody can choose names whose shapes crowd one bucket.
    static std::size_t const seed = std::random_device{}();
    auto hash = seed;
    for (auto index = first; index < names.size(); ++index)
    {
        hash = (hash ^ std::hash<std::string_view>{}(names[index])) * odd;
        hash ^= hash >> 32U;
    }
    return hash;
}

Shape* Shapes::find(std::size_t hash, Names const& names, std::size_t first) const
{
    auto const found = m_shapes.find(hash);
    if (found == m_shapes.end() || found->second->entries.size() != names.size() - first)
    {
        return nullptr;
    }
    auto name = names.begin() + static_cast<std::ptrdiff_t>(first);
    Value const& map = found->second->map;
    for (auto entry = map.begin(); entry != map.end(); ++entry, ++name)
    {
        if (entry.name() != *name)
        {
            return nullptr;
        }
    }
    return found->second.get();
}

Shape* Shapes::add(std::size_t hash, Value const& map)
{
    if (m_entry_count + map.size() > most_entries)
    {
        m_entry_count = most_entries;
        return nullptr;
    }
    auto shape = std::make_unique<Shape>();
    shape->map = map;
    shape->entries.reserve(map.size());
    for (auto entry = map.begin(); entry != map.end(); ++entry)
    {
        auto const before = shape->tokens.size();
        shape->tokens += before == 0 ? "" : ",";
        shape->tokens.append(write(Value(entry.name()))).append(":");
        shape->entries.push_back(
            {.token_size = static_cast<std::uint32_t>(shape->tokens.size() - before), .place = {}});
    }
    auto const [kept, is_new] = m_shapes.emplace(hash, std::move(shape));
    m_entry_count += is_new ? map.size() : 0;
    return is_new ? kept->second.get() : nullptr;
}

void Shapes::clear()
{
    m_shapes.clear();
    m_entry_count = 0;
}

} // namespace Ravik::Json
