#pragma once

#include "Project/Project.h"
#include "Project/Rows.h"
#include "Recipes/text_list.h"

#include <initializer_list>
#include <string_view>
#include <vector>

/// What the project's reports are as values: in the answers of the command line with `--json`, and in those of the
/// service.
namespace Ravik
{

RavikSrv::Value text_value(std::string_view text);

/// The values of a recipe, counted in these states: {"symbol", "domain", "member", "stored", "live", "state", "text"}.
Rows rows_of(ValueRows const& values, std::initializer_list<ValueState> counted);
/// {"recipe", "state", "text", "info"}
Rows rows_of(std::vector<UpdateRow> const& updates);
/// A recipe beside something else, whose values stand under `other_side`; what is the same is counted alone.
Rows comparison_of(ActivationRows const& rows, char const* other_side);

/// A list of {"recipe", "text"}.
RavikSrv::Value value_of(std::vector<UnreadRecipe> const& unread);
/// {"id", "time", "who", "action", "asked", "outcome", "text", "note"}, and "server", "edit" and "body" where the
/// record has one.
RavikSrv::Value value_of(HistoryRecord const& record);
/// {"state", "address", "schema", "server", "revision", "edit", "newest", "since", "why", "copyFailure",
/// "unknownEdits", "peers": [{"name", "address", "since"}]}
RavikSrv::Value value_of(LibraryStatus const& status);
/// {"written": […], "removed": […]}, the paths.
RavikSrv::Value value_of(std::vector<Touched> const& places);
/// A list of {"path", "kind", "text", "note"}.
RavikSrv::Value value_of(std::vector<Finding> const& findings);

} // namespace Ravik
