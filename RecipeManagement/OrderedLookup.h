#pragma once

#include "api_types.h"

#include <cstring>

namespace RecipeManagement
{

/// Looks up entries of a map by name. Whoever asks for them in the order in which they stand pays no more than a
/// comparison for each. Refers to the map, which must not change.
class OrderedLookup
{
public:
    explicit OrderedLookup(Value const& map) : m_map(map), m_next(map.begin()), m_end(map.end()) {}

    /// The position of the entry, or the map's end.
    RavikSrv::ConstIterator<Value> find(char const* name)
    {
        auto const is_next = m_next != m_end && std::strcmp(m_next.name(), name) == 0;
        auto const found = is_next ? m_next : m_map.find(name);
        if (found != m_end)
        {
            m_next = found;
            ++m_next;
        }
        return found;
    }

    RavikSrv::ConstIterator<Value> end() const noexcept { return m_end; }

private:
    Value const& m_map;
    RavikSrv::ConstIterator<Value> m_next;
    RavikSrv::ConstIterator<Value> const m_end;
};

} // namespace RecipeManagement
