#pragma once

#include "Support/Controller.h"

#include <cstdint>

namespace Ravik::Test
{

/// The extension, for a device on this machine.
class Domain : public Controller
{
public:
    explicit Domain(std::uint16_t port, RavikSrv::Value const& more = {}) : Controller(MODBUS_LIBRARY, at(port, more))
    {
    }

    static RavikSrv::Value at(std::uint16_t port, RavikSrv::Value const& more)
    {
        auto settings = map({{"host", "127.0.0.1"}, {"port", static_cast<int>(port)}});
        for (auto setting = more.begin(); setting != more.end(); ++setting)
        {
            settings.insert_or_update(setting.name(), *setting);
        }
        return settings;
    }
};

/// "holding:FIRST:uint16" and the registers behind, `count` of them, with the values `value(0)`, `value(1)` and so on.
template <typename MakeValue> Controller::Accesses adjacent(int first, int count, MakeValue const& value)
{
    Controller::Accesses accesses;
    for (int index = 0; index < count; ++index)
    {
        auto mapping = "holding:" + std::to_string(first + index);
        accesses.emplace_back(mapping.append(":uint16"), value(index));
    }
    return accesses;
}

inline RavikSrv::Value nothing(int /*index*/)
{
    return {};
}

} // namespace Ravik::Test
