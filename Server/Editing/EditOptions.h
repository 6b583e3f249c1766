#pragma once

#include "History/Origin.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Ravik
{

/// What must hold of an entry for an edit of it to be made. It is looked at in the edit's own turn, so that nobody can
/// come in between.
struct Condition
{
    enum class Kind
    {
        None,
        /// Nothing stands there.
        Absent,
        /// What stands there has one of the tags, see `entry_tag`.
        Tag,
    };
    Kind kind = Kind::None;
    std::vector<std::string> tags{};
};

/// How to write an entry.
struct SetOptions
{
    Origin origin{};
    /// Of what stands at the path; of a copy at the path that is copied.
    Condition condition{};
};

/// How to delete or rename.
struct MoveOptions
{
    /// Check, tell what would change, and change nothing.
    bool dry_run = false;
    Origin origin{};
    /// Of what stands at the path, for a rename the old one.
    Condition condition{};
};

/// How to take back what a record of the history tells.
struct RevertOptions
{
    /// Check, tell what would change, and change nothing.
    bool dry_run = false;
    /// Of an activation: write back also what is no longer as it wrote it. Of edits nothing is forced.
    bool force = false;
    Origin origin{};
};

/// How to import.
struct ImportOptions
{
    /// Check everything, report every refused entry instead of the first, and change nothing.
    bool dry_run = false;
    /// The import becomes the whole configuration.
    bool replace = false;
    /// Told of the entries that are checked, out of how many; may be empty.
    std::function<void(std::size_t done, std::size_t total)> progress{};
    Origin origin{};
    /// The revision that the configuration must have, looked at as a condition is; see `Revisions`.
    std::optional<std::int64_t> revision{};
};

} // namespace Ravik
