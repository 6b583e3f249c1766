#pragma once

#include "Configuration/Configuration.h"
#include "Configuration/Library.h"
#include "RavikSrvExtApi.h"

namespace Ravik
{

/// As long as it stands, the thread that took it reads the recipe management's configuration as it stood when its
/// outermost pin was taken, whatever other threads make of it meanwhile: what an extension is asked, and what is made
/// of its answers, then belong to one revision. Other domains, which keep values in theirs, are read as they are, and
/// so is everything in a turn of the thread. The configuration outlives the pin.
class Configuration::Pin
{
public:
    explicit Pin(Configuration const& configuration);
    Pin(Pin const&) = delete;
    Pin& operator=(Pin const&) = delete;
    ~Pin();

    /// The pin of this thread that stands for the configuration, null where there is none.
    static Pin const* of(Configuration const& configuration) noexcept;

    RavikSrv::Value const& tree() const noexcept { return m_finished.tree; }
    LibraryPosition const& position() const noexcept { return m_finished.position; }

private:
    static Pin const*& innermost() noexcept;

    Configuration const& m_configuration;
    /// The one that this thread took before, null for the outermost.
    Pin const* m_outer;
    Finished m_finished;
};

} // namespace Ravik
