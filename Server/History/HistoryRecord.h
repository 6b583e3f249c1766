#pragma once

#include "Configuration/place_changes.h"
#include "RavikSrvExtApi.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Ravik
{

/// What a record is about.
namespace Action
{

inline constexpr char const* edit = "edit";
inline constexpr char const* activation = "activation";
inline constexpr char const* symbol = "symbol";
inline constexpr char const* update = "update";
inline constexpr char const* revert = "revert";

} // namespace Action

/// How it ended, as far as this is known.
namespace Outcome
{

inline constexpr char const* done = "done";
inline constexpr char const* failed = "failed";
/// It was begun; whether it came to its end is not known.
inline constexpr char const* begun = "begun";

} // namespace Outcome

/// A record of what a client did.
struct HistoryRecord
{
    /// 0 for one that is not stored.
    std::int64_t id = 0;
    /// In UTC, RFC 3339 with milliseconds: "2026-11-21T08:30:00.000Z".
    std::string time{};
    std::string who{};
    std::string action{};
    /// As a person would type it.
    std::string asked{};
    std::string outcome{};
    /// What there is to say about the outcome, for a person.
    std::string text{};
    std::string note{};
    /// Of an edit in a library: the server that made it, and the edit's random id there. Otherwise empty.
    std::string server{};
    std::string edit{};
    /// Of what changed the configuration: {"places": [{"domain", "path", "before", "after"}]}, where nothing stood or
    /// stands without the one or the other, and "inside" for a place in a recipe or recipe type. Of anything else what
    /// its maker gave it; where its "recipe" names a recipe, the record is one of that recipe. A list has records
    /// without their bodies.
    RavikSrv::Value body{};

    /// Whether it changed the configuration.
    bool has_places() const { return body["places"].type() == RavikSrv::ValueType::Vector; }
};

/// The places of a record that changed the configuration.
std::vector<PlaceChange> places_of(HistoryRecord const& record);

/// Which records to list; what is empty says nothing.
struct HistoryFilter
{
    /// The name of a recipe, with its folders.
    std::string recipe{};
    std::string who{};
    /// A timestamp as records have it: those of that time or later.
    std::string since{};
    /// Those with numbers below it; 0 for all.
    std::int64_t before = 0;
    /// Those about one of these, see `Action`.
    std::vector<std::string> actions{};
    std::size_t limit = 50;
};

} // namespace Ravik
