#pragma once

#include <chrono>

namespace Ravik
{

/// A file descriptor that ends the wait of another thread. Thread-safe.
class Wakeup
{
public:
    /// Throws `std::system_error` where there is no descriptor to be had.
    Wakeup();
    Wakeup(Wakeup const&) = delete;
    Wakeup& operator=(Wakeup const&) = delete;
    ~Wakeup();

    /// Can be read once it was rung.
    int descriptor() const noexcept { return m_descriptor; }
    void ring() const noexcept;
    /// Forgets that it was.
    void reset() const noexcept;
    /// Waits until it is rung, at most that long.
    void wait(std::chrono::milliseconds most) const noexcept;

private:
    int m_descriptor;
};

} // namespace Ravik
