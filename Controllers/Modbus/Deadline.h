#pragma once

#include <chrono>

namespace Modbus
{

using Deadline = std::chrono::steady_clock::time_point;

} // namespace Modbus
