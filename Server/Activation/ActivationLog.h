#pragma once

#include "RavikSrvExtApi.h"

#include <cstdint>
#include <string>

namespace Ravik
{

/// What a record's body keeps the revision of the library under, where the recipe comes from one.
inline constexpr char const* revision_key = "revision";

/// What is about to be written to the controllers.
struct ActivationIntent
{
    /// Whether an activation is taken back.
    bool is_revert = false;
    /// On whose behalf.
    std::string who;
    std::string note;
    /// As a person would type it: "activate Bread".
    std::string asked;
    /// {"recipe", "counts", "rows"}, the rows as `value_of` gives them, those to be written "planned"; with "request"
    /// and `revision_key` where there is such a thing.
    RavikSrv::Value body;
};

/// Where activations are remembered. Both operations throw a `std::exception` with the reason where the record can't be
/// stored. Thread-safe.
class ActivationLog
{
public:
    virtual ~ActivationLog() = default;

    /// Stores a record, with the outcome "begun", before the first value leaves. Returns its number, 0 where no records
    /// are kept.
    virtual std::int64_t begin(ActivationIntent const& intent) = 0;
    /// Completes the record: whether all went well, with a text, and the body with the rows as they ended.
    virtual void complete(std::int64_t id, bool succeeded, std::string const& text, RavikSrv::Value const& body) = 0;
};

} // namespace Ravik
