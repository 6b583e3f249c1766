#pragma once

#include "Mutex.h"
#include "RavikSrvExtApi.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <map>
#include <optional>
#include <string>

namespace Ravik::Service
{

/// The plans that users look at before they activate: each is its maker's own, good for a while, and only so many are
/// kept for one, the oldest going first. Thread-safe.
class Plans
{
public:
    static constexpr std::chrono::minutes life{5};
    static constexpr std::size_t most = 10;

    struct Plan
    {
        std::string id;
        std::string recipe;
        /// Of what it would write where.
        std::string hash;
        std::chrono::system_clock::time_point expires;
    };

    /// Keeps a plan of the user's and returns it with its id.
    Plan add(std::string const& who, std::string recipe, std::string hash);
    /// The user's plan of that id, as long as it is good.
    std::optional<Plan> find(std::string const& who, std::string const& id);

private:
    void forget(std::deque<Plan>& plans) const;

    RavikSrv::Mutex m_mutex;
    std::map<std::string, std::deque<Plan>> m_plans RAVIK_GUARDED_BY(m_mutex);
};

} // namespace Ravik::Service
