#include "process_heap.h"

#include <malloc.h>

namespace RavikSrv
{

void keep_heap() noexcept
{
    constexpr int mebibyte = 1 << 20;
    // The largest that glibc takes: whatever is larger is mapped by itself and goes back to the kernel at once.
    constexpr int mapped_threshold = 32 * mebibyte;
    constexpr int kept = 512 * mebibyte;
    mallopt(M_MMAP_THRESHOLD, mapped_threshold);
    mallopt(M_TRIM_THRESHOLD, kept);
}

} // namespace RavikSrv
