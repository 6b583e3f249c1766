#pragma once

#include "Configuration/Changes.h"
#include "Configuration/FairRecursiveMutex.h"
#include "Configuration/LibraryDraft.h"
#include "Configuration/Store.h"
#include "Configuration/WorkingTree.h"
#include "Configuration/place_changes.h"
#include "Configuration/tree.h"
#include "Mutex.h"
#include "RavikSrvExtApi.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace Ravik
{

/// The configuration of all domains of a project: a tree for each, and the store behind them.
///
/// **Reading** copies one pointer and never waits for an edit: it gets the tree that the last finished turn left, or
/// the one that the thread holds on to with a `Pin`. Only the thread that has the turn sees it in progress. **Writing**
/// takes a `Turn`. Thread-safe.
class Configuration
{
public:
    class Turn;
    class Gate;
    class Following;
    class Pin;

    /// `store` may be null: then nothing lasts.
    explicit Configuration(std::unique_ptr<Store> store);

    /// Loads the domain's tree from the store and lays `fixed` over it: its top-level entries win and are never stored.
    void add_domain(std::string const& domain, RavikSrv::Value const& fixed);

    bool has_domain(std::string const& domain) const;
    /// Whether the path lies in what the project file fixes.
    bool is_fixed(std::string const& domain, std::string const& path) const;
    /// The domain's whole configuration; a null value for an unknown domain.
    RavikSrv::Value tree(std::string const& domain) const;
    /// Whether nothing is edited any more since a commit failed; see `Turn::commit`.
    bool is_refusing() const noexcept { return m_failed; }

    /// What counts the turns that changed a domain other than the server's own, and the records stored and completed;
    /// see `Revisions`. Within a turn the first stands as it did at its beginning.
    std::int64_t revision() const noexcept { return m_revision; }
    std::int64_t record_revision() const noexcept { return m_record_revision; }
    /// What a counter of a `Revisions` begins with.
    static std::int64_t first_revision()
    {
        auto const now = std::chrono::system_clock::now().time_since_epoch();
        return std::chrono::duration_cast<std::chrono::microseconds>(now).count();
    }

    // Where the store has joined a library the configuration of the recipe management is a copy of it.

    /// What it is a copy of, and how far it has come; nothing where the store has joined none.
    std::optional<LibraryCopy> shared() const;
    /// How far the copy in the store is, behind only where it could not be written, and the sum of its rows' checksums.
    struct StoredCopy
    {
        LibraryPosition position;
        std::uint64_t sum = 0;
    };
    StoredCopy stored_copy() const;
    /// Why it could not be, empty where it is as far.
    std::string copy_failure() const;
    /// What turns wait for; set before the first one, and there until the last has ended. Without one nothing of the
    /// recipe management is edited.
    void set_gate(Gate* gate) noexcept { m_gate = gate; }
    /// From now on nothing is edited.
    void refuse_edits() noexcept { m_failed = true; }

    /// Copies the store as the last finished turn left it, see `Store::backup`. Takes a turn.
    void backup(std::filesystem::path const& target);

    // Records of the history that belong to no turn. They wait for nothing but a transaction of the store in progress.
    // All may throw `StoreError`. Where nothing lasts there are none, and 0 is the number of each that is added.

    /// Adds a record in a transaction of its own, see `Store::add_record`.
    std::int64_t add_record(StoredRecord record, RecordBounds const& bounds);
    /// Puts the record in the place of the one of its number, in a transaction of its own. Returns whether there is
    /// one.
    bool replace_record(StoredRecord const& record);
    std::optional<StoredRecord> record(std::int64_t id) const;
    /// The newest record of the edit in a library.
    std::optional<StoredRecord> record_of_edit(std::string const& edit) const;
    /// Up to `most` records with numbers below `before`, the newest first.
    std::vector<StoredRecord> records_before(std::int64_t before, std::size_t most) const;

private:
    /// What the last finished turn left of the recipe management's configuration.
    struct Finished
    {
        RavikSrv::Value tree;
        LibraryPosition position;
    };

    /// A record on its way into the store.
    struct NewRecord
    {
        StoredRecord record;
        RecordBounds bounds;
    };

    struct Domain
    {
        /// The tree as the turn in progress has left it so far.
        WorkingTree tree;
        /// As the last finished turn left it. A tree of its own whose folders are not shared with the other, so that an
        /// edit need not copy them; what the folders hold is shared.
        RavikSrv::Value finished;
        /// The top-level entries that come from the project file.
        std::set<std::string> fixed;
    };

    void count(Changes const& changes, bool has_records) noexcept;
    void save(std::vector<Touched> const& touched, std::vector<NewRecord> const& records,
              std::function<void()> const& show);
    void write_rows(std::vector<Touched> const& touched, bool of_library, RowSink& rows) const;
    bool is_shared(std::string_view domain) const noexcept;
    Gate* gate_for(std::string_view domain) const;
    void set_copy_failure(std::string const& copy_failure);
    std::optional<LibraryRow> stored_row(std::string const& path) const;
    void in_transaction(std::function<void()> const& work, std::function<void()> const& show = {}) const;
    TreePair trees(std::string const& domain) const;
    Finished finished() const;
    void save_place(Touched const& place, RavikSrv::Value const& tree, Touched& saved, RowSink& rows) const;
    static void save_folder(std::string const& domain, std::string const& path, RavikSrv::Value const& tree,
                            RowSink& rows);

    std::unique_ptr<Store> m_store;
    std::atomic<std::int64_t> m_revision{first_revision()};
    std::atomic<std::int64_t> m_record_revision{first_revision()};
    /// Held for a transaction of the store, or to read from it. Taken before `m_mutex`.
    mutable RavikSrv::Mutex m_store_mutex;
    /// Held to look up, copy or change a tree, never across a call to anyone else.
    mutable RavikSrv::Mutex m_mutex;
    /// Looking at a tree may carry out what was put off.
    mutable std::map<std::string, Domain> m_domains RAVIK_GUARDED_BY(m_mutex);
    /// The turn: one thread at a time, as often as it likes. The one lock that is held while extensions are called.
    TurnMutex m_turn_mutex;
    Turn* m_innermost RAVIK_GUARDED_BY(m_turn_mutex) = nullptr;
    /// The thread that has the turn, none where nobody has.
    std::thread::id m_turn_thread RAVIK_GUARDED_BY(m_mutex);
    Gate* m_gate = nullptr;
    bool const m_is_shared;
    /// What the trees are a copy of, as far as they have come.
    std::optional<LibraryCopy> m_copy RAVIK_GUARDED_BY(m_mutex);
    std::string m_copy_failure RAVIK_GUARDED_BY(m_mutex);
    /// Set when a commit failed: the listeners have been told what did not last, so nothing is edited until a restart.
    std::atomic<bool> m_failed = false;
};

/// The way to the turn among all servers that share a library. The calls of one turn come from one thread and in the
/// order of these functions; what they can't do they tell.
class Configuration::Gate
{
public:
    Gate(Gate const&) = delete;
    Gate& operator=(Gate const&) = delete;
    virtual ~Gate() = default;

    /// Waits for the turn, in the order of asking. Returns why there is none to be had, for a person; empty where it
    /// was taken. Called without a lock.
    virtual std::string enter() = 0;
    /// Brings the configuration forward to the library's head, in the local turn. Returns why that can't be done.
    virtual std::string catch_up() = 0;
    /// The head after that.
    virtual LibraryHead head() const = 0;

    struct Outcome
    {
        /// Where the library stands with the edit; nothing where it does not have it, or nobody knows.
        std::optional<LibraryPosition> position;
        /// Why it does not.
        std::string failure;
        /// The edit that nobody knows of.
        std::string unknown_edit;
    };
    /// Writes the rows and records into the library; completes the records by what it gives to them.
    virtual Outcome commit(LibraryDraft const& draft, std::vector<StoredRecord>& records) = 0;
    /// The tree has gone back to what it was before the turn.
    virtual void put_back() noexcept = 0;
    /// Ends the turn. Called without a lock, also after a `catch_up` that failed.
    virtual void leave() noexcept = 0;

protected:
    Gate() = default;
};

/// A turn of edits: all that is written in it, and in turns that the same thread takes meanwhile, lasts together or not
/// at all. Whoever takes one waits until no other thread has one. Destroyed without `commit` it takes back what was
/// written in it.
///
/// Where the recipe management's configuration stands in a library, a turn that edits it names its domain: it waits for
/// its turn among all servers first, and is brought forward to what these have done. It may not be had then; see
/// `obstacle`.
class RAVIK_THREAD_SAFETY(scoped_lockable) Configuration::Turn
{
public:
    /// `domain` is the one that is edited, empty where that is not the recipe management's or nothing is edited.
    explicit Turn(Configuration& configuration, std::string_view domain = {})
        RAVIK_THREAD_SAFETY(acquire_capability(configuration.m_turn_mutex));
    Turn(Turn const&) = delete;
    Turn& operator=(Turn const&) = delete;
    ~Turn() RAVIK_THREAD_SAFETY(release_capability());

    /// Why the configuration of the recipe management, which stands in a library, can't be edited in this turn, for a
    /// person; empty where it can. Writes to it are answered `STORAGE` then.
    std::string const& obstacle() const noexcept { return m_obstacle; }

    /// Writes or removes an entry of the domain's tree, see `Tree`. `INVALID_DOMAIN` for an unknown domain,
    /// `STORAGE` after a failed commit.
    RavikSrv::ErrorValue write(std::string const& domain, std::string const& path, RavikSrv::Value const& value,
                               Tree::WriteMode mode);
    RavikSrv::ErrorValue remove(std::string const& domain, std::string const& path);

    /// What has changed in this turn, the outermost, and in those that joined it, against what stood before it. What
    /// the project file fixes is left out.
    std::vector<PlaceChange> places() const;
    /// Stores the record with what this turn, and those that it is part of, write: together or not at all.
    void remember(StoredRecord record, RecordBounds bounds);

    /// Ends the turn. The outermost turn answers when everything is stored; where that fails with `STORAGE_STORE` the
    /// trees are as they were before it, and `failure()` tells why. What belongs into a library is stored once it
    /// stands there; where that fails, or nobody knows, the answer is `STORAGE`, and the extension has gone back, too.
    RavikSrv::ErrorValue commit();
    std::string const& failure() const noexcept { return m_failure; }
    /// After a commit that failed: the id of the edit where it is not known whether the library has it, else empty.
    std::string const& unknown_edit() const noexcept { return m_unknown_edit; }

    /// Takes back what was written in this turn and in those that joined it and have ended.
    void take_back() noexcept;

    /// What this turn, and the turns that joined it and have ended, changed so far.
    Changes const& changes() const noexcept { return m_changes; }
    /// The domain's tree as it stood before the outermost turn and as it stands now. Held on to, it makes the next
    /// write copy the folders on its way.
    TreePair trees(std::string const& domain) const { return m_configuration.trees(domain); }
    bool is_outermost() const noexcept { return m_outer == nullptr; }

private:
    friend class Following;
    /// A turn that brings the configuration forward.
    enum class Forward
    {
    };
    Turn(Configuration& configuration, Forward forward)
        RAVIK_THREAD_SAFETY(acquire_capability(configuration.m_turn_mutex));

    void enter() RAVIK_REQUIRES(m_configuration.m_turn_mutex);
    std::string own_obstacle(std::string_view domain) const;
    bool belongs_into_library(std::vector<Touched> const& touched) const;
    RavikSrv::ErrorValue commit_shared(std::vector<Touched> const& touched);
    void save_shared(LibraryDraft const& draft, LibraryPosition const& position, std::vector<Touched> const& touched);
    void set_thread(std::thread::id thread) noexcept;
    void publish(std::optional<LibraryPosition> position = {}) noexcept;
    template <typename Edit> RavikSrv::ErrorValue edit(std::string const& domain, Edit change_tree);

    Configuration& m_configuration;
    /// What the turn among all servers was had from, null where it was not.
    Gate* m_gate = nullptr;
    bool m_is_forward = false;
    /// The turn that this one is part of, null for the outermost.
    Turn* m_outer = nullptr;
    Changes m_changes;
    std::vector<NewRecord> m_records;
    std::string m_obstacle;
    std::string m_failure;
    std::string m_unknown_edit;
    bool m_done = false;
};

/// Brings the configuration forward to what came from its library: a turn that is never refused. Destroyed without
/// `commit` it takes back what it did.
class Configuration::Following
{
public:
    explicit Following(Configuration& configuration) : m_configuration(configuration), m_turn(configuration, {}) {}

    /// What an extension has to know of it.
    struct Told
    {
        /// What came or changed, folders too.
        std::vector<std::string> paths;
        /// Whether it does not learn all by being told of these: entries went, or came at other places than the last.
        bool has_moved = false;
    };
    /// Brings the tree into line with the news, which are those since the position of `stored_copy`. Throws
    /// `LibraryError` and `StoreError`.
    Told take(LibraryNews const& news);
    /// Stores them with their records, if `bounds` are given, and shows them to everybody. Throws `StoreError`; then
    /// nothing has changed.
    void commit(LibraryNews const& news, std::optional<RecordBounds> const& bounds);
    void take_back() noexcept { m_turn.take_back(); }

private:
    Told take_whole(RavikSrv::Value const& tree);
    std::vector<LibraryRow> with_stored(std::vector<LibraryRow> const& rows) const;
    bool is_own(std::string const& path) const;

    Configuration& m_configuration;
    Turn m_turn;
};

} // namespace Ravik
