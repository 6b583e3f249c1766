#pragma once

#include "Mutex.h"
#include "RavikSrvExtApi.h"

#include <boost/unordered/unordered_flat_map.hpp>

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <utility>
#include <vector>

namespace Ravik
{

struct Symbol;

/// What requests have read, so that no device is asked twice for a symbol within one request: who looks at a thousand
/// recipes on the same symbols reads these once, be it in one call or in several. As soon as anybody writes, all that
/// was read before counts for nothing. Thread-safe.
class ReadMemory
{
public:
    /// Remembers for a session as long as it lives. A session has one at a time; the next one goes on with what the one
    /// before remembered, unless many others have ended in between.
    class Scope;

    using Send = std::function<void(RavikSrv::CommandGroup& group)>;

    /// Has `send` execute what is not known of a group of read commands; `symbols` are those of the commands, in order.
    void read(RavikSrv::Session session, std::vector<Symbol const*> const& symbols, RavikSrv::CommandGroup& group,
              Send const& send);
    /// Has `send` execute a group that may write.
    void write(RavikSrv::CommandGroup& group, Send const& send);

private:
    struct Known
    {
        /// How much had been written when it was read.
        std::uint64_t writes = 0;
        /// What was read last. It goes to the others when it is asked for: most requests read once.
        std::vector<std::pair<Symbol const*, RavikSrv::Value>> last;
        boost::unordered_flat_map<Symbol const*, RavikSrv::Value> others;

        bool empty() const { return last.empty() && others.empty(); }
    };

    void begin(RavikSrv::Session session);
    void end(RavikSrv::Session session);
    /// Fills in what is known, and returns the positions of the other commands.
    std::vector<std::size_t> recall(RavikSrv::Session session, std::vector<Symbol const*> const& symbols,
                                    RavikSrv::CommandGroup& group);
    void remember(RavikSrv::Session session, std::vector<Symbol const*> const& symbols,
                  RavikSrv::CommandGroup const& group, std::uint64_t writes);

    RavikSrv::Mutex m_mutex;
    std::map<std::uint64_t, Known> m_sessions RAVIK_GUARDED_BY(m_mutex);
    /// Those of them without a scope, the oldest first.
    std::deque<std::uint64_t> m_ended RAVIK_GUARDED_BY(m_mutex);
    /// Grows with the beginning and with the end of every write.
    std::atomic<std::uint64_t> m_writes = 0;
};

class ReadMemory::Scope
{
public:
    Scope(ReadMemory& memory, RavikSrv::Session session);
    Scope(Scope const&) = delete;
    Scope& operator=(Scope const&) = delete;
    ~Scope();

private:
    ReadMemory& m_memory;
    RavikSrv::Session m_session;
};

} // namespace Ravik
