#include "KeyTable.h"

#include <algorithm>
#include <bit>
#include <memory>
#include <random>
#include <stdexcept>

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace RavikSrv::Detail
{

namespace
{

/// Up to here comparing the names one by one is faster than hashing the one that is looked for.
constexpr std::uint32_t linear_limit = 16;
constexpr std::size_t smallest_index = 64;

std::uint32_t hash_of(std::string_view name) noexcept
{
    static std::size_t const process_seed = []
    {
        std::random_device device;
        return (std::size_t{device()} << 32U) | device();
    }();
    return static_cast<std::uint32_t>(XXH3_64bits_withSeed(name.data(), name.size(), process_seed));
}

} // namespace

KeyTablePointer make_key_table()
{
    return {std::make_unique<KeyTable>().release(), false};
}

std::uint32_t KeyTable::find(std::string_view name) const noexcept
{
    if (m_slots.empty())
    {
        return find_linear(name);
    }
    auto const hash = hash_of(name);
    auto const mask = m_slots.size() - 1;
    for (auto slot = hash & mask;; slot = (slot + 1) & mask)
    {
        auto const position = m_slots[slot];
        if (position == none || (m_keys[position].hash == hash && m_keys[position].name() == name))
        {
            return position;
        }
    }
}

std::uint32_t KeyTable::find_linear(std::string_view name) const noexcept
{
    auto const found =
        std::find_if(m_keys.begin(), m_keys.end(), [name](Key const& key) { return key.name() == name; });
    return found == m_keys.end() ? none : static_cast<std::uint32_t>(found - m_keys.begin());
}

void KeyTable::append(std::string_view name)
{
    if (m_keys.size() == none)
    {
        throw std::length_error("a map holds too many entries");
    }
    // The index grows first: whatever throws then leaves the names as they are.
    auto const count = m_keys.size() + 1;
    if (m_slots.empty() ? count > linear_limit : count * 2 > m_slots.size())
    {
        build_index(std::max(smallest_index, m_slots.size() * 2));
    }
    m_keys.emplace_back(name);
    if (!m_slots.empty())
    {
        m_keys.back().hash = hash_of(name);
        enter(size() - 1);
    }
}

void KeyTable::erase(std::uint32_t position)
{
    if (!m_slots.empty())
    {
        leave(position);
    }
    Key::take_out(m_keys, position);
    // Each name that goes has all slots looked at, so that there are not to be many more of these than of names.
    if (m_slots.size() > smallest_index && m_slots.size() > std::size_t{size()} * 5)
    {
        build_index(m_slots.size() / 2);
    }
}

void KeyTable::reserve(std::uint32_t count)
{
    m_keys.reserve(count);
    if (count > linear_limit && std::size_t{count} * 2 > m_slots.size())
    {
        build_index(std::max(smallest_index, std::bit_ceil(std::size_t{count} * 2)));
    }
}

void KeyTable::shrink_to_fit()
{
    m_keys.shrink_to_fit();
}

KeyTablePointer KeyTable::copy(std::uint32_t count) const
{
    auto table = make_key_table();
    table->m_keys.assign(m_keys.begin(), m_keys.begin() + count);
    if (count > linear_limit)
    {
        table->build_index(std::max(smallest_index, std::bit_ceil(std::size_t{count} * 2)));
    }
    return table;
}

/// Hashes are taken when the first index is built: a table that stays small never pays for them.
void KeyTable::build_index(std::size_t slot_count)
{
    auto const first_index = m_slots.empty();
    m_slots.assign(slot_count, none);
    for (std::uint32_t position = 0; position < size(); ++position)
    {
        if (first_index)
        {
            m_keys[position].hash = hash_of(m_keys[position].name());
        }
        enter(position);
    }
}

/// Frees the position's slot, and lowers all positions behind it by one.
void KeyTable::leave(std::uint32_t position) noexcept
{
    auto const mask = m_slots.size() - 1;
    auto free = m_keys[position].hash & mask;
    while (m_slots[free] != position)
    {
        free = (free + 1) & mask;
    }
    // Whoever was pushed on by others moves up, so that no search ends at the free slot too early.
    for (auto next = (free + 1) & mask; m_slots[next] != none; next = (next + 1) & mask)
    {
        auto const home = m_keys[m_slots[next]].hash & mask;
        if (((next - home) & mask) >= ((next - free) & mask))
        {
            m_slots[free] = m_slots[next];
            free = next;
        }
    }
    m_slots[free] = none;
    for (auto& slot : m_slots)
    {
        slot -= slot > position && slot != none ? 1 : 0;
    }
}

void KeyTable::enter(std::uint32_t position) noexcept
{
    auto const mask = m_slots.size() - 1;
    auto slot = m_keys[position].hash & mask;
    while (m_slots[slot] != none)
    {
        slot = (slot + 1) & mask;
    }
    m_slots[slot] = position;
}

} // namespace RavikSrv::Detail
