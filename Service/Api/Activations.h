#pragma once

#include "Mutex.h"
#include "Project/Project.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace Ravik::Service
{

/// An activation, or one that is taken back, while it runs.
struct RunningActivation
{
    std::string recipe;
    std::string who;
    std::atomic<bool> stop = false;
    std::atomic<std::size_t> done = 0;
    std::atomic<std::size_t> total = 0;
};

/// The activations that run, and which request each was begun by, so that the same request again does not begin it
/// again. Thread-safe.
class Activations
{
public:
    using Clock = std::chrono::system_clock;

    /// A request of a client's that is to be carried out once.
    struct Request
    {
        std::string who;
        /// The client's own name for it.
        std::string key;
        /// Of all that it asks for.
        std::string fingerprint;
    };

    // What a record keeps a request's key and fingerprint under.
    static constexpr char const* key_name = "key";
    static constexpr char const* fingerprint_name = "fingerprint";

    /// What is known of a request.
    struct Claim
    {
        enum class Kind
        {
            /// Nothing: it is the caller's to carry out, and to `settle` or `release`.
            New,
            Running,
            /// It came to the record `id`.
            Known,
            /// The key stands for another request.
            Other,
        };
        Kind kind = Kind::New;
        std::int64_t id = 0;
    };

    Claim claim(Request const& request);
    /// The request has a record now, and keeps its key for a day.
    void settle(Request const& request, std::int64_t id, Clock::time_point when = Clock::now());
    /// Nothing came of it: it may be tried again. One that has a record is left alone.
    void release(Request const& request);
    /// It has ended; see `Claim::Kind::Known`.
    void finish(Request const& request);

    void begin(std::int64_t id, std::shared_ptr<RunningActivation> activation);
    void end(std::int64_t id);
    std::shared_ptr<RunningActivation> find(std::int64_t id) const;
    std::size_t running() const;
    /// Has all end before their next request to a device, those that begin later included.
    void stop_all();

private:
    struct Entry
    {
        std::string fingerprint;
        std::int64_t id = 0;
        bool runs = true;
    };
    using Key = std::pair<std::string, std::string>;

    void forget(Clock::time_point now) RAVIK_REQUIRES(m_mutex);

    mutable RavikSrv::Mutex m_mutex;
    bool m_is_ending RAVIK_GUARDED_BY(m_mutex) = false;
    std::map<std::int64_t, std::shared_ptr<RunningActivation>> m_running RAVIK_GUARDED_BY(m_mutex);
    std::map<Key, Entry> m_requests RAVIK_GUARDED_BY(m_mutex);
    /// When each was settled, the oldest first.
    std::deque<std::pair<Clock::time_point, Key>> m_ages RAVIK_GUARDED_BY(m_mutex);
};

} // namespace Ravik::Service
