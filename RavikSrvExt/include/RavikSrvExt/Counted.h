#pragma once

#include <atomic>
#include <cstdint>

#include <sys/single_threaded.h>

namespace RavikSrv::Detail
{

/// What a value shares with its copies. The count is never touched through anything but these two operations and
/// `is_unique`, so that the order of accesses holds: whoever sees the last reference sees all that was done before.
struct Counted
{
    mutable std::atomic<std::uint32_t> references{1};

    void add_reference() const noexcept
    {
        // A process with one thread has no one to be atomic against; the C library keeps the flag for this purpose.
        if (__libc_single_threaded != 0)
        {
            references.store(references.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        }
        else
        {
            references.fetch_add(1, std::memory_order_relaxed);
        }
    }

    /// Whether the reference given up was the last one.
    bool drop_reference() const noexcept
    {
        if (__libc_single_threaded != 0)
        {
            auto const left = references.load(std::memory_order_relaxed) - 1;
            references.store(left, std::memory_order_relaxed);
            return left == 0;
        }
        return references.fetch_sub(1, std::memory_order_acq_rel) == 1;
    }

    bool is_unique() const noexcept { return references.load(std::memory_order_acquire) == 1; }
};

} // namespace RavikSrv::Detail
