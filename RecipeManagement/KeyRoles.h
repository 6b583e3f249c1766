#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace RecipeManagement
{

/// Tells which of a few keys the names in a map are, map after map. Maps of one shape share their names, so that mostly
/// the address alone tells it. The maps must outlive it.
template <typename Role, std::size_t Count> class KeyRoles
{
public:
    struct Key
    {
        std::string_view text;
        Role role;
    };

    explicit KeyRoles(std::array<Key, Count> const& keys) : m_keys(keys) {}

    /// The role of the name that stands at `position` of its map; the empty role for one that is no key.
    Role role_of(std::size_t position, char const* name)
    {
        if (position >= m_seen.size())
        {
            return read(name);
        }
        auto& seen = m_seen[position];
        if (seen.name != name)
        {
            seen = {name, read(name)};
        }
        return seen.role;
    }

private:
    struct Seen
    {
        char const* name = nullptr;
        Role role{};
    };

    Role read(std::string_view name) const
    {
        for (auto const& key : m_keys)
        {
            if (key.text == name)
            {
                return key.role;
            }
        }
        return {};
    }

    std::array<Key, Count> m_keys;
    /// The names seen last, by position.
    std::array<Seen, 8> m_seen;
};

} // namespace RecipeManagement
