#pragma once

#include "api_types.h"

#include <cstring>

namespace RecipeManagement
{

/// Looks up entries of a map by name. Whoever asks for them in the order in which they stand, for each or for one in a
/// few, pays no more than a comparison. Refers to the map, which must not change.
class OrderedLookup
{
public:
    using Position = RavikSrv::ConstIterator<Value>;

    explicit OrderedLookup(Value const& map) : m_map(map), m_next(map.begin()), m_end(map.end()) {}

    /// The position of the entry, or the map's end.
    Position find(char const* name)
    {
        auto found = m_next;
        for (int step = 0; step < m_steps && found != m_end; ++step)
        {
            ++found;
        }
        if (found == m_end || std::strcmp(found.name(), name) != 0)
        {
            found = m_map.find(name);
            if (found == m_end)
            {
                return found;
            }
            m_steps = steps_to(found);
        }
        m_next = found;
        ++m_next;
        return found;
    }

    Position end() const noexcept { return m_end; }

private:
    /// How many entries were passed over; none where it stands elsewhere.
    int steps_to(Position const& found) const
    {
        constexpr int most = 8;
        auto position = m_next;
        for (int step = 0; step < most && position != m_end; ++step, ++position)
        {
            if (position == found)
            {
                return step;
            }
        }
        return 0;
    }

    Value const& m_map;
    Position m_next;
    Position const m_end;
    /// How many entries were passed over the last time: mostly it is as many the next time.
    int m_steps = 0;
};

} // namespace RecipeManagement
