// An extension that neither asks nor is told anything, for what edits cost without an extension.

#include "RavikSrvExtApi.h"

#include <memory>

namespace
{

constexpr double interface_version = 19.0;

class SilentExtension : public RavikSrv::IRavikSrvExt
{
public:
    RavikSrv::ResultPair init(RavikSrv::Context /*context*/) override { return {}; }
    RavikSrv::String error_string(unsigned /*code*/) override { return {}; }
};

} // namespace

extern "C" RAVIK_SRV_EXT_API int ext_interface(RavikSrv::IRavikSrvExtHost* /*host*/, RavikSrv::IRavikSrvExt** extension,
                                               double* version)
{
    *extension = std::make_unique<SilentExtension>().release();
    *version = interface_version;
    return 0;
}
