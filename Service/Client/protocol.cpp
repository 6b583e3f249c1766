#include "Client/protocol.h"

namespace Ravik::Wire
{

Versions own_versions()
{
    return {.mark = "ravik", .protocol = protocol_number, .program = RAVIK_VERSION};
}

} // namespace Ravik::Wire
