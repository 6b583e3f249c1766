#pragma once

#include "RavikSrvExt/SharedText.h"

#include <array>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

namespace RavikSrv::Detail
{

/// A key of a map: a name that never changes, and its hash, which is set once the key's table keeps an index. Most
/// names stand in the key itself. It takes 32 bytes, and to move it is to copy these: tables of many keys close up
/// quickly.
class Key
{
public:
    explicit Key(std::string_view name) : m_size(checked_size(name))
    {
        if (!is_inside())
        {
            m_outside = Text::make(name);
            return;
        }
        // What is behind the name is zero already.
        name.copy(m_inside.data(), name.size());
    }
    Key(Key const& other) noexcept : hash(other.hash), m_size(other.m_size), m_inside(other.m_inside)
    {
        if (!is_inside())
        {
            m_outside->add_reference();
        }
    }
    Key(Key&& other) noexcept { take(other); }
    Key& operator=(Key const& other)
    {
        *this = Key(other);
        return *this;
    }
    Key& operator=(Key&& other) noexcept
    {
        if (this != &other)
        {
            free();
            take(other);
        }
        return *this;
    }
    ~Key() { free(); }

    /// The name, zero-terminated.
    char const* c_str() const noexcept { return is_inside() ? m_inside.data() : m_outside->data(); }
    std::string_view name() const noexcept { return {c_str(), m_size}; }

    std::uint32_t hash = 0;

    /// Takes the key at `position` out of the list; the ones behind it close up, which takes a copy of 32 bytes each.
    static void take_out(std::vector<Key>& keys, std::size_t position) noexcept
    {
        keys[position].free();
        for (auto next = position + 1; next < keys.size(); ++next)
        {
            keys[next - 1].m_inside = keys[next].m_inside;
            keys[next - 1].m_size = keys[next].m_size;
            keys[next - 1].hash = keys[next].hash;
        }
        keys.back().m_size = 0;
        keys.pop_back();
    }

private:
    static constexpr std::size_t room = 24;

    static std::uint32_t checked_size(std::string_view name)
    {
        if (name.size() > std::numeric_limits<std::uint32_t>::max())
        {
            throw std::length_error("a name is too long for a map");
        }
        return static_cast<std::uint32_t>(name.size());
    }

    bool is_inside() const noexcept { return m_size < room; }

    void take(Key& other) noexcept
    {
        static_assert(room >= sizeof(void*));
        m_inside = other.m_inside;
        m_size = std::exchange(other.m_size, 0);
        hash = other.hash;
    }

    void free() noexcept
    {
        if (!is_inside() && m_outside->drop_reference())
        {
            Text::destroy(m_outside);
        }
    }

    std::uint32_t m_size = 0;
    union
    {
        std::array<char, room> m_inside = {};
        Text const* m_outside;
    };
};

static_assert(sizeof(Key) == 32);

} // namespace RavikSrv::Detail
