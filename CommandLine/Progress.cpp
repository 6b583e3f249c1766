#include "Progress.h"

#include <iostream>
#include <unistd.h>

namespace Ravik::CommandLine
{

namespace
{

/// So long nothing is shown, and so often the line changes.
constexpr std::chrono::milliseconds pace{200};

} // namespace

Progress::Progress(std::string what)
    : m_what(std::move(what)), m_terminal(isatty(STDERR_FILENO) != 0), m_next(std::chrono::steady_clock::now() + pace)
{
}

void Progress::show(std::size_t done, std::size_t total)
{
    auto const now = std::chrono::steady_clock::now();
    if (!m_terminal || now < m_next)
    {
        return;
    }
    m_next = now + pace;
    m_shown = true;
    // Back to the start of the line, and clear it (ECMA-48: EL).
    std::cerr << "\r\x1b[K" << m_what << ' ' << done << " of " << total << std::flush;
}

void Progress::clear()
{
    if (m_shown)
    {
        std::cerr << "\r\x1b[K" << std::flush;
        m_shown = false;
    }
}

} // namespace Ravik::CommandLine
