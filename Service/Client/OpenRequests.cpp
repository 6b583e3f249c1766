#include "Client/OpenRequests.h"

namespace Ravik::Wire
{

void OpenRequests::add(RavikSrv::Session request)
{
    RavikSrv::Lock const lock(m_mutex);
    m_requests.emplace(request.id(), false);
}

void OpenRequests::remove(RavikSrv::Session request)
{
    RavikSrv::Lock const lock(m_mutex);
    m_requests.erase(request.id());
}

bool OpenRequests::take(RavikSrv::Session request)
{
    RavikSrv::Lock const lock(m_mutex);
    auto const found = m_requests.find(request.id());
    auto const is_free = found != m_requests.end() && !found->second;
    if (is_free)
    {
        found->second = true;
    }
    return is_free;
}

void OpenRequests::give_back(RavikSrv::Session request)
{
    RavikSrv::Lock const lock(m_mutex);
    if (auto const found = m_requests.find(request.id()); found != m_requests.end())
    {
        found->second = false;
    }
}

} // namespace Ravik::Wire
