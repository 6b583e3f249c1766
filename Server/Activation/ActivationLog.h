#pragma once

#include "RavikSrvExtApi.h"

#include <cstdint>
#include <string>

namespace Ravik
{

/// What is about to be written to the controllers.
struct ActivationIntent
{
    /// "activate" or "revert".
    std::string action;
    /// On whose behalf.
    std::string who;
    std::string note;
    /// The recipe, or the number of the record that is taken back, as a text.
    std::string asked;
    /// The rows as `value_of` gives them, all "planned".
    RavikSrv::Value body;
};

/// Where activations are remembered. Both operations throw a `std::exception` with the reason where the record can't be
/// stored. Thread-safe.
class ActivationLog
{
public:
    virtual ~ActivationLog() = default;

    /// Stores a record, with the outcome "begun", before the first value leaves. Returns its number.
    virtual std::int64_t begin(ActivationIntent const& intent) = 0;
    /// Completes the record: the name of the result with a text, and the rows as they ended.
    virtual void complete(std::int64_t id, std::string const& outcome, std::string const& text,
                          RavikSrv::Value const& body) = 0;
};

} // namespace Ravik
