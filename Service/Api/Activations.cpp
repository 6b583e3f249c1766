#include "Api/Activations.h"

namespace Ravik::Service
{

using RavikSrv::Lock;

namespace
{

constexpr std::chrono::hours key_life{24};

} // namespace

Activations::Claim Activations::claim(Request const& request)
{
    Lock const lock(m_mutex);
    forget(Clock::now());
    auto const [entry, is_new] = m_requests.try_emplace({request.who, request.key}, Entry{request.fingerprint});
    if (is_new)
    {
        return {};
    }
    auto const& known = entry->second;
    auto const kind = known.fingerprint != request.fingerprint ? Claim::Kind::Other
                      : known.runs                             ? Claim::Kind::Running
                                                               : Claim::Kind::Known;
    return {kind, known.id};
}

void Activations::settle(Request const& request, std::int64_t id, Clock::time_point when)
{
    Lock const lock(m_mutex);
    auto& entry = m_requests[{request.who, request.key}];
    entry.fingerprint = request.fingerprint;
    entry.id = id;
    m_ages.emplace_back(when, Key{request.who, request.key});
}

void Activations::release(Request const& request)
{
    Lock const lock(m_mutex);
    auto const found = m_requests.find({request.who, request.key});
    if (found != m_requests.end() && found->second.id == 0)
    {
        m_requests.erase(found);
    }
}

void Activations::finish(Request const& request)
{
    Lock const lock(m_mutex);
    auto const found = m_requests.find({request.who, request.key});
    if (found != m_requests.end())
    {
        found->second.runs = false;
    }
}

void Activations::forget(Clock::time_point now)
{
    while (!m_ages.empty() && m_ages.front().first + key_life < now)
    {
        m_requests.erase(m_ages.front().second);
        m_ages.pop_front();
    }
}

void Activations::begin(std::int64_t id, std::shared_ptr<RunningActivation> activation)
{
    Lock const lock(m_mutex);
    activation->stop = activation->stop || m_is_ending;
    m_running[id] = std::move(activation);
}

void Activations::end(std::int64_t id)
{
    Lock const lock(m_mutex);
    m_running.erase(id);
}

std::shared_ptr<RunningActivation> Activations::find(std::int64_t id) const
{
    Lock const lock(m_mutex);
    auto const found = m_running.find(id);
    return found == m_running.end() ? nullptr : found->second;
}

std::size_t Activations::running() const
{
    Lock const lock(m_mutex);
    return m_running.size();
}

void Activations::stop_all()
{
    Lock const lock(m_mutex);
    m_is_ending = true;
    for (auto const& [id, activation] : m_running)
    {
        activation->stop = true;
    }
}

} // namespace Ravik::Service
