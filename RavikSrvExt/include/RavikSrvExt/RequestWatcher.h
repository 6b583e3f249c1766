#pragma once

#include "RavikSrvExt/Export.h"

#include <cstddef>

namespace RavikSrv
{

/// Who waits for a request: wants to know how far it has come, and may want it stopped. An extension finds it in the
/// context of the request (`Context::watcher`); one that takes no time for its commands need not look at it.
///
/// The server owns it. It lives until `on_request` returns, and is called from inside that, on any thread but on one at
/// a time. Its operations return at once and call no extension, so that a lock may be held meanwhile.
class RAVIK_SRV_EXT_API IRavikSrvRequestWatcher
{
public:
    /// Takes note that `count` more commands of the group are done, whatever came of them. Those that nobody tells of
    /// count once `on_request` returns.
    virtual void note_done(std::size_t count) noexcept = 0;
    /// Whether nothing more is to be begun; once it is so, it remains so. What was begun is finished, and each command
    /// that is left has the result `INTERRUPTED`.
    virtual bool is_stopped() const noexcept = 0;

    virtual ~IRavikSrvRequestWatcher();

protected:
    IRavikSrvRequestWatcher() = default;
    IRavikSrvRequestWatcher(IRavikSrvRequestWatcher const&) = default;
    IRavikSrvRequestWatcher& operator=(IRavikSrvRequestWatcher const&) = default;
};

} // namespace RavikSrv
