#pragma once

namespace RavikSrv
{

/// Lets the process keep the memory that it frees. A request over many symbols takes and gives back megabytes; handed
/// to the kernel each time, they would cost a page fault for every 4 KiB of the next request. For programs, at the
/// beginning of `main`: the heap is the whole process's, so that no extension may decide about it.
void keep_heap() noexcept;

} // namespace RavikSrv
