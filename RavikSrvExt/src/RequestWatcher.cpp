#include "RavikSrvExt/RequestWatcher.h"

namespace RavikSrv
{

IRavikSrvRequestWatcher::~IRavikSrvRequestWatcher() = default;

} // namespace RavikSrv
