#pragma once

#include "Configuration/Configuration.h"
#include "History/HistoryRecord.h"
#include "History/Origin.h"
#include "History/quantities.h"

#include <optional>
#include <string>
#include <vector>

namespace Ravik
{

/// What a turn of edits was for.
struct Deed
{
    std::string action{};
    /// What was asked, where the origin does not tell it.
    std::string asked{};
    Origin origin{};
    std::string outcome = Outcome::done;
    std::string text{};
};

/// The records of what clients did, kept in the store. Thread-safe. All operations but `remember` may throw
/// `StoreError`.
class History
{
public:
    /// `configuration` outlives the history.
    History(Configuration& configuration, HistoryBounds bounds);

    /// Has what the turn, the outermost, changed so far stored with it as a record; there is none where it changed
    /// nothing. Called last before the turn is committed.
    void remember(Configuration::Turn& turn, Deed const& deed) const;

    /// Stores a record; its number and time are given to it, and its account where "who" is empty. Waits for no turn.
    /// Returns the number, 0 where nothing is kept.
    std::int64_t begin(HistoryRecord const& record);
    /// Tells how what was begun ended; the rest of the record stays. Returns whether the record is still there.
    bool complete(std::int64_t id, std::string const& outcome, std::string const& text, RavikSrv::Value const& body);

    /// The newest records first, without their bodies.
    std::vector<HistoryRecord> list(HistoryFilter const& filter) const;
    /// The records of that time or later whose bodies have a "request", the newest first, with their bodies.
    std::vector<HistoryRecord> requests(std::string const& since) const;
    std::optional<HistoryRecord> find(std::int64_t id) const;
    /// The newest record of the edit in a library.
    std::optional<HistoryRecord> find_edit(std::string const& edit) const;

    /// What of the history is kept when a record is added now; nothing where none is kept at all.
    std::optional<RecordBounds> bounds() const;
    /// The account that this process runs under.
    std::string const& account() const noexcept { return m_account; }

    /// A record as the store, or a library, keeps it.
    static HistoryRecord read(StoredRecord const& stored);

private:
    RecordBounds bounds_now() const;
    template <typename Visit>
    void visit_newest(std::int64_t before, std::string const& since, Visit const& visit) const;

    Configuration& m_configuration;
    HistoryBounds m_bounds;
    std::string m_account;
};

} // namespace Ravik
