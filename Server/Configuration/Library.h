#pragma once

#include "Configuration/LibraryError.h"
#include "Configuration/StoredRecord.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Ravik
{

/// Where a library is, as ravik.json names it.
struct LibrarySettings
{
    /// A connection string of libpq, without a password.
    std::string postgresql;
    std::string schema = "ravik";

    friend bool operator==(LibrarySettings const& left, LibrarySettings const& right) = default;
};

/// How far a copy of a library has come: the revision, and the random id of the edit that made it, which tells two
/// histories with the same count apart.
struct LibraryPosition
{
    std::int64_t revision = 0;
    /// Empty for revision 0.
    std::string edit{};

    friend bool operator==(LibraryPosition const& left, LibraryPosition const& right) = default;
};

/// The one row that all edits lock.
struct LibraryHead
{
    /// Random, given when the library was made.
    std::string library;
    LibraryPosition position;
    /// The sum of the checksums of all rows that are not removed, modulo 2^64.
    std::uint64_t sum = 0;
    /// The highest rank that was ever given.
    std::int64_t last_rank = 0;
    /// Rows removed by this revision or a later one are still there, marked; a copy of an earlier revision reads
    /// everything.
    std::int64_t removals_since = 0;

    friend bool operator==(LibraryHead const& left, LibraryHead const& right) = default;
};

/// A row of the recipe management's configuration, like one of the local store's: what is saved as a whole.
struct LibraryRow
{
    std::string path;
    /// Its place in the order of all rows.
    std::int64_t rank = 0;
    /// JSON, nothing for a folder.
    std::optional<std::string> text{};
    /// `StoreFormat::checksum` of rank, domain of the recipe management, path and text.
    std::uint64_t checksum = 0;
    /// Of what was there before; rank and checksum are then those that it had, and there is no text.
    bool is_removed = false;

    friend bool operator==(LibraryRow const& left, LibraryRow const& right) = default;
};

/// A record of the history with the edit that it tells of; `record.server` and `record.edit` are set, `record.id` not.
struct LibraryRecord
{
    std::int64_t revision = 0;
    StoredRecord record;
};

/// What a library has beyond a position.
struct LibraryNews
{
    LibraryHead head;
    /// Whether the library knows the position. Where it does not, there are no rows and no records.
    bool is_known = true;
    /// Whether `rows` are all there are, none of them removed, since what was removed is not known any more.
    bool is_whole = false;
    /// By rank.
    std::vector<LibraryRow> rows;
    /// In the order of their making.
    std::vector<LibraryRecord> records;
};

/// An edit on its way into the library.
struct LibraryEdit
{
    /// What the head is afterwards.
    LibraryHead head;
    std::vector<LibraryRow> rows;
    /// `server` and `edit` are set; `time` is given by the library.
    std::vector<StoredRecord> records;
};

/// A server at a library.
struct LibraryServer
{
    std::string name;
    /// Random, stands in its store.
    std::string store;

    friend bool operator==(LibraryServer const& left, LibraryServer const& right) = default;
};

/// A connection to the database, as it tells of itself.
struct LibraryPeer
{
    /// The server's name.
    std::string name;
    /// The address that it comes from, empty for a local one.
    std::string address;
    /// RFC 3339, in UTC.
    std::string since;
};

/// A link to a library: types and recipes of several servers in one database. Every call has a deadline of its own and
/// may throw `LibraryError`; after one that is not of the kind `Refused` the link is gone, and another one is to be
/// connected. Not thread-safe: one thread at a time.
class Library
{
public:
    /// Who connects.
    struct Caller
    {
        LibraryServer server;
        /// The same for all links of a process, another one for every other process.
        std::string process;
        /// The one that the store has joined; empty where it is to join. Another one is refused.
        std::string library{};
    };

    /// Connects to a library that was initialised. A caller's store is held for as long as the link of the kind
    /// `Following` is there: another process with the same store is refused. Refused is also a layout that this program
    /// does not know.
    enum class Kind
    {
        Turns,
        Following,
    };
    static std::unique_ptr<Library> connect(LibrarySettings const& settings, Caller const& caller, Kind kind);
    /// Makes the tables in the schema, which is made where it is missing. Returns what was done, for a person. Refused
    /// where something else stands there, or an older layout, which `upgrade` brings over.
    static std::string initialise(LibrarySettings const& settings, bool upgrade);
    /// Why the settings can't be used, empty where they can: no connection string, one with a password, a name that can
    /// be no schema's; or that this program was built without PostgreSQL.
    static std::string objection(LibrarySettings const& settings);

    Library(Library const&) = delete;
    Library& operator=(Library const&) = delete;
    virtual ~Library() = default;

    // Turns: one server at a time has the head.

    /// Begins a turn: waits until no other server has one, in the order of asking, and returns the head.
    virtual LibraryHead begin_turn() = 0;
    /// Ends the turn with its edit: everything is there or nothing. Notifies all servers. Returns the times of the
    /// records, in UTC.
    virtual std::vector<std::string> commit(LibraryEdit const& edit) = 0;
    /// Ends the turn without one. Where that fails the link is gone.
    virtual void end_turn() noexcept = 0;

    // Reading, in a turn or, outside of one, in a snapshot of its own.

    /// The head as it stands.
    virtual LibraryHead head() = 0;
    /// What has come since the position; everything for revision 0. Every row is held against its checksum: one that
    /// does not fit is refused by name.
    virtual LibraryNews news(LibraryPosition const& since) = 0;
    /// All rows, whatever the position: `is_whole`.
    virtual LibraryNews everything() = 0;
    /// The record of the edit, if it was made; for a reliable answer asked in a turn.
    virtual std::optional<LibraryRecord> record_of(std::string const& edit) = 0;

    // Following.

    /// Waits until a revision beyond `known` was told of, or for that long; returns whether it was. `known` may grow
    /// meanwhile. `wake` is a file descriptor that ends the wait when it can be read.
    virtual bool wait(std::chrono::milliseconds most, int wake, std::atomic<std::int64_t> const& known) = 0;

    // Membership.

    virtual std::vector<LibraryServer> servers() = 0;
    /// Enters the server; refused where another store has the name. In a turn it belongs to it.
    virtual void enter(LibraryServer const& server) = 0;
    virtual void strike(LibraryServer const& server) = 0;
    /// The connections of servers to this library.
    virtual std::vector<LibraryPeer> peers() = 0;
    /// Refused where notifications do not arrive, as through a pooler of transactions: `other` sends one.
    virtual void check_notifications(Library& other) = 0;

protected:
    Library() = default;
};

} // namespace Ravik
