#include "Access/CheckThreads.h"

namespace Ravik::Service
{

namespace
{

using Lock = RavikSrv::Lock<std::mutex>;

constexpr std::size_t threads = 2;
constexpr std::size_t most_waiting = 20;

} // namespace

CheckThreads::CheckThreads()
{
    for (std::size_t count = 0; count < threads; ++count)
    {
        m_threads.emplace_back([this] { work(); });
    }
}

CheckThreads::~CheckThreads()
{
    {
        Lock const lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    for (auto& thread : m_threads)
    {
        thread.join();
    }
}

bool CheckThreads::add(std::function<void()> check)
{
    {
        Lock const lock(m_mutex);
        if (m_unfinished >= threads + most_waiting)
        {
            return false;
        }
        ++m_unfinished;
        m_waiting.push_back(std::move(check));
    }
    m_changed.notify_one();
    return true;
}

void CheckThreads::work()
{
    while (auto const check = next())
    {
        check();
        Lock const lock(m_mutex);
        --m_unfinished;
    }
}

std::function<void()> CheckThreads::next()
{
    Lock const lock(m_mutex);
    while (m_waiting.empty() && !m_stopping)
    {
        m_changed.wait(m_mutex);
    }
    if (m_stopping)
    {
        return {};
    }
    auto check = std::move(m_waiting.front());
    m_waiting.pop_front();
    return check;
}

} // namespace Ravik::Service
