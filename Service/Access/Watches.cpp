#include "Access/Watches.h"

#include "Mutex.h"

#include <cstdint>
#include <map>

namespace Ravik::Service
{

namespace
{

using Lock = RavikSrv::Lock<std::mutex>;

} // namespace

class Watches::List
{
public:
    std::uint64_t add(Watch watch)
    {
        Lock const lock(m_mutex);
        m_watches.emplace(++m_last, std::move(watch));
        return m_last;
    }

    void remove(std::uint64_t number)
    {
        // What the call holds is destroyed when the mutex is not held any more.
        std::map<std::uint64_t, Watch>::node_type removed;
        Lock const lock(m_mutex);
        removed = m_watches.extract(number);
    }

    Calls take(std::function<bool(Watch const&)> const& has_ended)
    {
        Calls calls;
        Lock const lock(m_mutex);
        for (auto watch = m_watches.begin(); watch != m_watches.end();)
        {
            if (has_ended(watch->second))
            {
                calls.push_back(std::move(watch->second.ended));
                watch = m_watches.erase(watch);
            }
            else
            {
                ++watch;
            }
        }
        return calls;
    }

private:
    RavikSrv::Mutex m_mutex;
    std::map<std::uint64_t, Watch> m_watches RAVIK_GUARDED_BY(m_mutex);
    std::uint64_t m_last RAVIK_GUARDED_BY(m_mutex) = 0;
};

Watches::Watches() : m_list(std::make_shared<List>())
{
}

std::shared_ptr<void> Watches::add(Watch watch)
{
    auto const number = m_list->add(std::move(watch));
    return {nullptr, [list = std::weak_ptr<List>(m_list), number](void* /*nothing*/)
            {
                if (auto const still = list.lock())
                {
                    still->remove(number);
                }
            }};
}

Watches::Calls Watches::take(std::function<bool(Watch const&)> const& has_ended)
{
    return m_list->take(has_ended);
}

} // namespace Ravik::Service
