#pragma once

#include "Execution/ExecutionRecord.h"
#include "Mutex.h"
#include "RavikSrvExtApi.h"

#include <cstdint>
#include <map>

namespace Ravik
{

class Extensions;

/// Keeps the records of requests: while a recording is open, every group that is executed for its session is noted.
/// Thread-safe.
class Recorder
{
public:
    class Recording;

    explicit Recorder(Extensions const& extensions) : m_extensions(extensions) {}

    /// A session that nobody had before.
    RavikSrv::Session new_session();

    /// Notes an executed group where its session is recorded. Groups without commands are passed over.
    void note(RavikSrv::Context const& context, RavikSrv::CommandGroup const& group, RavikSrv::ErrorValue result);

    /// How the group ended, command by command.
    ExecutedGroup describe(RavikSrv::CommandGroup const& group, RavikSrv::ErrorValue result) const;

private:
    Extensions const& m_extensions;
    RavikSrv::Mutex m_mutex;
    std::uint64_t m_last_session RAVIK_GUARDED_BY(m_mutex) = 0;
    std::map<std::uint64_t, ExecutionRecord> m_records RAVIK_GUARDED_BY(m_mutex);
};

/// Records the groups of a session as long as it lives. A session has one at a time.
class Recorder::Recording
{
public:
    Recording(Recorder& recorder, RavikSrv::Session session);
    Recording(Recording const&) = delete;
    Recording& operator=(Recording const&) = delete;
    ~Recording();

    /// Hands out what was recorded until now.
    ExecutionRecord take();

private:
    Recorder& m_recorder;
    RavikSrv::Session m_session;
};

} // namespace Ravik
