#pragma once

#include <cstdint>
#include <string>

namespace Ravik
{

/// A record of the history as the store keeps it: texts that mean nothing to it.
struct StoredRecord
{
    /// Counts up from 1; a number is never given twice in one store. 0 for a record that is not stored yet.
    std::int64_t id = 0;
    /// RFC 3339 in UTC, all of the same length, so that their order as texts is that of time.
    std::string time{};
    std::string who{};
    std::string action{};
    std::string asked{};
    std::string outcome{};
    std::string text{};
    std::string note{};
    /// JSON, or empty.
    std::string body{};
    /// What changed in the configuration, see `places_text`; or empty.
    std::string places{};
    /// Of an edit in a library: the server that made it, and the edit's random id there. Otherwise empty.
    std::string server{};
    std::string edit{};

    friend bool operator==(StoredRecord const& left, StoredRecord const& right) = default;
};

/// What of the history is kept when a record is added; that one always is.
struct RecordBounds
{
    /// Records of an earlier time go.
    std::string oldest;
    /// As long as all records take more bytes the oldest goes.
    std::uint64_t bytes = 0;
};

} // namespace Ravik
