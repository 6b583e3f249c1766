#include "Api/Plans.h"

#include "Access/secrets.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Ravik::Service
{

using RavikSrv::Lock;

Plans::Plan Plans::add(std::string const& who, std::string recipe, std::string hash)
{
    Plan plan{.id = random_secret(),
              .recipe = std::move(recipe),
              .hash = std::move(hash),
              .expires = std::chrono::system_clock::now() + life};
    Lock const lock(m_mutex);
    // Whoever makes none any more leaves nothing behind.
    for (auto user = m_plans.begin(); user != m_plans.end();)
    {
        forget(user->second);
        user = user->second.empty() ? m_plans.erase(user) : std::next(user);
    }
    auto& plans = m_plans[who];
    if (plans.size() == most)
    {
        plans.pop_front();
    }
    plans.push_back(plan);
    return plan;
}

std::optional<Plans::Plan> Plans::find(std::string const& who, std::string const& id)
{
    Lock const lock(m_mutex);
    auto const user = m_plans.find(who);
    if (user == m_plans.end())
    {
        return std::nullopt;
    }
    auto& plans = user->second;
    forget(plans);
    auto const found = std::find_if(plans.begin(), plans.end(), [&id](Plan const& plan) { return plan.id == id; });
    return found == plans.end() ? std::nullopt : std::optional(*found);
}

void Plans::forget(std::deque<Plan>& plans) const
{
    auto const now = std::chrono::system_clock::now();
    while (!plans.empty() && plans.front().expires <= now)
    {
        plans.pop_front();
    }
}

} // namespace Ravik::Service
