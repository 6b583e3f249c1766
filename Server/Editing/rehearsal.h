#pragma once

#include "Configuration/Configuration.h"
#include "Configuration/expectation.h"
#include "Editing/Refusal.h"
#include "Execution/Core.h"

#include <string>
#include <vector>

namespace Ravik
{

/// What a delete or rename would do, tried on a copy of the configuration.
struct Rehearsal
{
    /// Set where something would not come out right: `MULTIPLE_MATCHES` where something else would be touched,
    /// `ENTRY_NOT_FOUND` where something would be left behind; the text names each place and what can be done instead.
    Refusal refusal;
    /// The domain's configuration as it would stand.
    RavikSrv::Value tree;
    /// What the extension would write and remove, in its order.
    std::vector<Touched> cascade;
};

/// Runs the move on a copy of all configurations with an instance of the extension of its own, and compares the
/// outcome with the one in which every reference is carried along exactly. Nothing else changes. Takes time linear in
/// the entries of the configuration and in what the extension writes.
Rehearsal rehearse(Core const& core, SymbolTable const& symbols, Validator& validator, Extension const& extension,
                   Move const& move, char const* schema_type);

/// Whether the extension, which keeps the paths of all entries by searching them for the old path, will have them wrong
/// after the move although the configuration comes out right; it is started anew then.
bool loses_paths(RavikSrv::Value const& tree, Move const& move);

} // namespace Ravik
