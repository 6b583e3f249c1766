#include "Api/DeviceWork.h"

#include "Api/problem.h"

#include <exception>
#include <set>
#include <utility>

namespace Ravik::Service
{

using RavikSrv::Lock;

namespace
{

constexpr std::size_t readings_at_once = 2;
constexpr std::size_t readings_waiting = 16;

/// A dead device answers nobody, however many ask it at once.
constexpr LaneSize device_lane{4, 16};

std::string lane_of(std::vector<std::string> const& domains)
{
    std::string lane = "devices";
    for (auto const& domain : std::set<std::string>(domains.begin(), domains.end()))
    {
        lane += ' ' + domain;
    }
    return lane;
}

Problem lane_is_full()
{
    return too_busy("too much is waiting for the controllers");
}

} // namespace

Response answered(DeviceWork::Work const& work)
{
    try
    {
        return work();
    }
    catch (Problem const& problem)
    {
        return answer_of(problem);
    }
    catch (std::exception const& error)
    {
        return answer_of({.status = 500, .code = "UNEXPECTED", .detail = error.what()});
    }
}

void DeviceWork::read(std::string const& who, std::vector<std::string> const& domains, Work work, Reply reply)
{
    Job job{lane_of(domains), std::move(work), std::move(reply)};
    auto is_refused = false;
    {
        Lock const lock(m_mutex);
        auto& user = m_users[who];
        if (user.running < readings_at_once)
        {
            ++user.running;
        }
        else if (is_refused = user.waiting.size() >= readings_waiting; !is_refused)
        {
            user.waiting.push_back(std::move(job));
            return;
        }
    }
    if (is_refused)
    {
        job.reply(answer_of({.status = 429,
                             .code = "TOO_MANY_REQUESTS",
                             .detail = "too many of your readings are waiting",
                             .errors = {},
                             .current = {},
                             .fields = {{"Retry-After", "1"}}}));
        return;
    }
    begin(who, std::move(job));
}

void DeviceWork::write(std::vector<std::string> const& domains, Work work, Reply reply)
{
    auto const refused = reply;
    ++m_writing;
    auto const is_taken = m_lanes.post(lane_of(domains), device_lane,
                                       [this, work = std::move(work), reply = std::move(reply)]
                                       {
                                           reply(answered(work));
                                           --m_writing;
                                       });
    if (!is_taken)
    {
        --m_writing;
        refused(answer_of(lane_is_full()));
    }
}

void DeviceWork::begin(std::string const& who, Job job)
{
    auto const refused = job.reply;
    auto const lane = job.lane;
    auto const is_taken = m_lanes.post(lane, device_lane,
                                       [this, who, job = std::move(job)]
                                       {
                                           auto answer = answered(job.work);
                                           // Whoever has his answer may ask again at once.
                                           end(who);
                                           job.reply(std::move(answer));
                                       });
    if (!is_taken)
    {
        end(who);
        refused(answer_of(lane_is_full()));
    }
}

void DeviceWork::end(std::string const& who)
{
    std::optional<Job> next;
    {
        Lock const lock(m_mutex);
        auto const user = m_users.find(who);
        if (user->second.waiting.empty())
        {
            --user->second.running;
            if (user->second.running == 0)
            {
                m_users.erase(user);
            }
            return;
        }
        next.emplace(std::move(user->second.waiting.front()));
        user->second.waiting.pop_front();
    }
    begin(who, std::move(*next));
}

} // namespace Ravik::Service
