#include "RavikSrvExt/Host.h"

#include <atomic>

namespace RavikSrv
{

namespace
{

std::atomic<IRavikSrvExtHost*> known_host{nullptr};

} // namespace

IRavikSrvExtHost::~IRavikSrvExtHost() = default;
IInternalHost::~IInternalHost() = default;

void initialize_api(IRavikSrvExtHost* host) noexcept
{
    known_host.store(host);
}

IRavikSrvExtHost* host() noexcept
{
    return known_host.load();
}

} // namespace RavikSrv
