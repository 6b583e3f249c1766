#include "RavikSrvExt/Listener.h"

namespace RavikSrv
{

IRavikSrvListener::~IRavikSrvListener() = default;
IRavikSrvRequestListener::~IRavikSrvRequestListener() = default;
IRavikSrvConfigListener::~IRavikSrvConfigListener() = default;
RavikSrvConfigListener::~RavikSrvConfigListener() = default;
IRavikSrvExportListener::~IRavikSrvExportListener() = default;
IRavikSrvExt::~IRavikSrvExt() = default;

ListenerType IRavikSrvRequestListener::type() const noexcept
{
    return ListenerType::REQUEST;
}

ListenerType IRavikSrvConfigListener::type() const noexcept
{
    return ListenerType::CONFIG;
}

ListenerType IRavikSrvExportListener::type() const noexcept
{
    return ListenerType::EXPORT;
}

ResultPair RavikSrvConfigListener::before_delete(Context /*context*/, char const* /*path*/, Value const& /*value*/,
                                                 char const* /*schema_type*/)
{
    return {};
}

ResultPair RavikSrvConfigListener::before_rename(Context /*context*/, char const* /*path*/, char const* /*new_path*/,
                                                 char const* /*schema_type*/)
{
    return {};
}

} // namespace RavikSrv
