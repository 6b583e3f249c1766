#include "Configuration/Pin.h"

namespace Ravik
{

Configuration::Pin::Pin(Configuration const& configuration) : m_configuration(configuration), m_outer(innermost())
{
    auto const* const standing = of(configuration);
    m_finished = standing != nullptr ? standing->m_finished : configuration.finished();
    innermost() = this;
}

Configuration::Pin::~Pin()
{
    innermost() = m_outer;
}

Configuration::Pin const* Configuration::Pin::of(Configuration const& configuration) noexcept
{
    auto const* pin = innermost();
    while (pin != nullptr && &pin->m_configuration != &configuration)
    {
        pin = pin->m_outer;
    }
    return pin;
}

/// Of this thread, whatever the configuration.
Configuration::Pin const*& Configuration::Pin::innermost() noexcept
{
    thread_local Pin const* pin = nullptr;
    return pin;
}

} // namespace Ravik
