#pragma once

#include "Support/LoadedExtension.h"
#include "Support/RecordingHost.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Ravik::Test
{

/// The extension, loaded for a device on this machine.
class Domain
{
public:
    using Settings = std::vector<std::pair<char const*, RavikSrv::Value>>;
    explicit Domain(std::uint16_t port, Settings const& more = {});

    /// Executes a group of mappings and their values; a null value reads.
    std::vector<RavikSrv::Command> send(std::vector<std::pair<std::string, RavikSrv::Value>> const& accesses);
    /// The same; the answer is each command's result ("TIMEOUT"), or for a success the value as text, "ok" for a write.
    std::vector<std::string> outcomes(std::vector<std::pair<std::string, RavikSrv::Value>> const& accesses);
    std::string outcome(RavikSrv::Command const& command);

    /// Requests may come from several threads at once.
    std::atomic<std::uint32_t> last_group_result = 0;

private:
    RecordingHost m_host;
    LoadedExtension m_extension;
};

/// `first` to `first + count - 1` of a table, each with the value that `value` makes of its index.
template <typename MakeValue>
std::vector<std::pair<std::string, RavikSrv::Value>> adjacent(std::string const& table, int first, int count,
                                                              std::string const& type, MakeValue const& value)
{
    std::vector<std::pair<std::string, RavikSrv::Value>> accesses;
    for (int index = 0; index < count; ++index)
    {
        auto mapping = table + ":";
        mapping += std::to_string(first + index);
        mapping += type;
        accesses.emplace_back(mapping, value(index));
    }
    return accesses;
}

} // namespace Ravik::Test
