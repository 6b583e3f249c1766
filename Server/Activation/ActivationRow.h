#pragma once

#include "RavikSrvExtApi.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Ravik
{

/// What is known of a symbol that an activation writes.
enum class RowState
{
    /// It is going to be written.
    Planned,
    /// The controller holds the value already, or holds another.
    Same,
    Differs,
    /// It could not be read.
    Unread,
    /// The controller took the value, and nobody looked whether it kept it.
    Written,
    /// The value was read back.
    Verified,
    Failed,
    /// Nothing was sent, since something before it failed.
    NotTried,
    /// It is not among what is written.
    NotWritten,
};

/// The state as people and programs read it: "written", "not tried".
char const* name_of(RowState state);
/// The state of a name; `Planned` for one that is none.
RowState row_state_of(std::string const& name);

/// A symbol of an activation, of its plan, or of one that takes another back.
struct ActivationRow
{
    std::string symbol;
    /// The one that serves the symbol.
    std::string domain;
    /// The first member of the recipe's type that is bound to the symbol.
    std::string member;
    /// What stood in the controller; null where that is not known.
    RavikSrv::Value before;
    /// What is written.
    RavikSrv::Value value;
    /// What was read back; null where it was not.
    RavikSrv::Value after;
    RowState state = RowState::Planned;
    /// Why the state is what it is, for a person; mostly empty.
    std::string text;
    /// Nobody expected it to be written: no reason to call the whole a failure.
    bool is_left_on_purpose = false;
};

using ActivationRows = std::vector<ActivationRow>;

std::size_t count(ActivationRows const& rows, RowState state);

/// {"counts": {…}, "rows": [{"symbol", "domain", "member", "before", "value", "after", "state", "text"}]}, with the
/// counts of these states, and of others where a row is in them.
RavikSrv::Value value_of(ActivationRows const& rows, std::vector<RowState> const& counted);
/// The rows of such a value.
ActivationRows rows_of(RavikSrv::Value const& value);

/// The states that the rows of a plan, of an activation and of taking one back are counted in.
std::vector<RowState> const& plan_states();
std::vector<RowState> const& activation_states();
std::vector<RowState> const& revert_states();

/// The rows' symbols with what is the matter, for a message: "Line.Speed (differs: …), Line.Name (failed: …)". Many are
/// cut short.
std::string named(ActivationRows const& rows, bool (*is_meant)(ActivationRow const&));

} // namespace Ravik
