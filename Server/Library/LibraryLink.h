#pragma once

#include "Configuration/FairRecursiveMutex.h"
#include "Configuration/Library.h"
#include "Configuration/LibraryStatus.h"
#include "Execution/Core.h"
#include "History/History.h"
#include "Library/Follower.h"
#include "Library/Wakeup.h"
#include "Mutex.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace Ravik
{

/// A server's way to the library that its store has joined: it goes along with it in a thread of its own, and hands out
/// the turns of edits. It never holds anybody up but those who edit. Thread-safe.
class LibraryLink final : public Configuration::Gate
{
public:
    /// Starts to follow; `core` and `history` outlive the link. The store has joined a library.
    LibraryLink(LibrarySettings settings, Core& core, History const& history);
    LibraryLink(LibraryLink const&) = delete;
    LibraryLink& operator=(LibraryLink const&) = delete;
    /// Called while no turn is in progress.
    ~LibraryLink() override;

    std::string enter() override;
    std::string catch_up() override;
    LibraryHead head() const override { return m_head; }
    Outcome commit(LibraryDraft const& draft, std::vector<StoredRecord>& records) override;
    void put_back() noexcept override { put_back_extension(m_core); }
    void leave() noexcept override;

    LibraryStatus status() const;
    /// Waits until it is known whether there is a link, at most that long. Returns whether there is one and everything
    /// that was there has been followed.
    bool settle(std::chrono::milliseconds most) const;
    /// The record of the edit in the library, looked for while no other edit can be on its way. Throws `LibraryError`.
    std::optional<LibraryRecord> find_edit(std::string const& edit);

private:
    using State = LibraryStatus::State;

    // The turns; whoever has `m_queue`.
    void begin_turn();
    void end_turn() noexcept;
    void check_state() const;
    std::string note_unknown(std::string const& edit);

    // The thread that follows.
    void follow() noexcept;
    void follow_once();
    void look_for_unknown_edits();
    void look_around();
    void fail(LibraryError const& error) noexcept;
    void set_state(State state, std::string const& why);

    LibrarySettings m_settings;
    Core& m_core;
    Follower m_follower;
    Library::Caller m_caller;

    /// Held from `enter` to `leave`.
    FairRecursiveMutex m_queue;
    std::unique_ptr<Library> m_turns;
    LibraryHead m_head;
    bool m_has_turn = false;
    /// The newest that was made here, or is being made: nobody needs to be told of it.
    std::atomic<std::int64_t> m_own_revision = 0;

    mutable RavikSrv::Mutex m_mutex;
    mutable std::condition_variable_any m_settled;
    LibraryStatus m_status RAVIK_GUARDED_BY(m_mutex);
    bool m_is_ending RAVIK_GUARDED_BY(m_mutex) = false;

    /// Of the thread alone.
    std::unique_ptr<Library> m_following;
    std::chrono::milliseconds m_pause{0};
    std::chrono::steady_clock::time_point m_next_look;
    Wakeup m_wakeup;
    std::thread m_thread;
};

} // namespace Ravik
