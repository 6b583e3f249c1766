#pragma once

#include "Editing/Refusal.h"

#include <string>
#include <utility>
#include <vector>

namespace Ravik
{

/// What is wrong with an import, in its order: as many mistakes as anybody reads, and how many more there are.
class RefusalList
{
public:
    static constexpr std::size_t most = 10000;

    /// With those that are not kept.
    std::size_t count() const noexcept { return m_kept.size() + m_more; }

    /// Returns whether it is kept.
    bool add(Refusal refusal)
    {
        if (m_kept.size() >= most)
        {
            ++m_more;
            return false;
        }
        m_kept.push_back(std::move(refusal));
        return true;
    }
    /// Adds some of which nothing is known but their number.
    void add_more(std::size_t count) noexcept { m_more += count; }

    std::vector<Refusal> take()
    {
        if (m_more > 0 && !m_kept.empty())
        {
            m_kept.push_back({m_kept.back().error, std::to_string(m_more) + " more mistakes are not listed", ""});
        }
        return std::move(m_kept);
    }

private:
    std::vector<Refusal> m_kept;
    std::size_t m_more = 0;
};

} // namespace Ravik
