#pragma once

#include "RavikSrvExtApi.h"

namespace Ravik::Test
{

/// The extension interface, by its names alone in all tests.
using namespace RavikSrv;

} // namespace Ravik::Test
