#pragma once

#include "Configuration/Library.h"
#include "Execution/Core.h"
#include "History/History.h"

#include <vector>

namespace Ravik
{

/// Brings tree, extension and the store's copy forward together to what a library has. Thread-safe. What it can't do it
/// throws as `LibraryError`, in words for a person, and then nothing has changed.
class Follower
{
public:
    /// The parts outlive it.
    Follower(Core& core, History const& history) : m_core(core), m_history(history) {}

    /// Reads what is new through the link, in its turn or a snapshot of its own. `Refused` where this copy and the
    /// library do not belong together (any more), or where they differ when all is read.
    void bring_forward(Library& library, LibraryHead const& head);

private:
    void check_library(LibraryHead const& head) const;
    bool apply(LibraryNews const& news, LibraryPosition const& since);
    void tell(Configuration::Following::Told const& told);
    [[noreturn]] void put_back(std::string const& why);

    Core& m_core;
    History const& m_history;
};

/// Starts the extension of the recipe management anew as the tree stands; where that fails nothing is edited any more.
void put_back_extension(Core& core) noexcept;

} // namespace Ravik
