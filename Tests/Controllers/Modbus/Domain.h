#pragma once

#include "Support/Controller.h"

#include <cstdint>

namespace Ravik::Test
{

/// The extension, for a device on this machine.
class Domain : public Controller
{
public:
    explicit Domain(std::uint16_t port, Value const& more = map({})) : Controller(MODBUS_LIBRARY, at(port, more)) {}

    /// What is missing in the settings.
    static Value at(std::uint16_t port, Value settings)
    {
        settings.insert("host", "127.0.0.1");
        settings.insert("port", static_cast<int>(port));
        return settings;
    }
};

} // namespace Ravik::Test
