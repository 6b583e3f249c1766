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

/// A session of its own whose groups are recorded as long as this lives.
class Recorder::Recording
{
public:
    explicit Recording(Recorder& recorder);
    Recording(Recording const&) = delete;
    Recording& operator=(Recording const&) = delete;
    ~Recording();

    RavikSrv::Session session() const noexcept { return m_session; }
    /// Hands out what was recorded until now.
    ExecutionRecord take();

private:
    Recorder& m_recorder;
    RavikSrv::Session m_session;
};

} // namespace Ravik
