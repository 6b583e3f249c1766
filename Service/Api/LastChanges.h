#pragma once

#include "Mutex.h"
#include "Project/Project.h"

#include <cstdint>
#include <string>
#include <unordered_map>

namespace Ravik::Service
{

/// Who changed each recipe and recipe type last, as far as the newest records of the history tell. It is read out of
/// them once, within bounds, and then goes along with what is new. Thread-safe; takes time, so not for the thread of
/// input and output.
class LastChanges
{
public:
    /// The project outlives it.
    explicit LastChanges(Project& project) : m_project(project) {}

    /// Takes in what the history has got since the last time.
    void catch_up();
    /// The last record that changed the entry: {"time", "who", "id"}, null where none is known.
    RavikSrv::Value of(std::string const& path) const;

private:
    struct Change
    {
        std::int64_t id;
        RavikSrv::Value told;
    };

    /// Looks at some records below `below`, the newest first. Returns the number to go on below, 0 where none is left
    /// that is newer than `known`.
    std::int64_t take_some(std::int64_t below, std::int64_t known) RAVIK_REQUIRES(m_mutex);
    void take(HistoryRecord const& record, RavikSrv::Value const& tree) RAVIK_REQUIRES(m_mutex);

    Project& m_project;
    mutable RavikSrv::Mutex m_mutex;
    std::unordered_map<std::string, Change> m_changes RAVIK_GUARDED_BY(m_mutex);
    /// The history's revision that this is up to, and the number of the newest record then.
    std::int64_t m_revision RAVIK_GUARDED_BY(m_mutex) = 0;
    std::int64_t m_newest RAVIK_GUARDED_BY(m_mutex) = 0;
};

} // namespace Ravik::Service
