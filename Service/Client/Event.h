#pragma once

#include "Client/Descriptor.h"

#include <chrono>

namespace Ravik::Wire
{

/// What one thread raises and another waits for, also among descriptors: its own is readable while it is raised.
class Event
{
public:
    /// Throws `std::system_error` where the system has no more descriptors.
    Event();

    int descriptor() const noexcept { return m_descriptor.number(); }
    void raise() const noexcept;
    /// Returns whether it was raised, or is within that time, and takes it back then.
    bool wait(std::chrono::milliseconds patience) const noexcept;

private:
    Descriptor m_descriptor;
};

} // namespace Ravik::Wire
