#pragma once

#include "History/Origin.h"

#include <cstddef>
#include <functional>

namespace Ravik
{

/// How to delete or rename.
struct MoveOptions
{
    /// Check, tell what would change, and change nothing.
    bool dry_run = false;
    Origin origin{};
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
};

} // namespace Ravik
