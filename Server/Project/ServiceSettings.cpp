#include "Project/ServiceSettings.h"

#include "Project/Project.h"
#include "Project/RegularFile.h"

#include <charconv>

namespace Ravik
{

std::optional<ListenAddress> read_listen_address(std::string const& text)
{
    auto const colon = text.rfind(':');
    if (colon == std::string::npos || colon == 0)
    {
        return std::nullopt;
    }
    ListenAddress address{.host = text.substr(0, colon), .port = 0};
    auto const is_bracketed = address.host.starts_with('[') && address.host.ends_with(']');
    if (is_bracketed)
    {
        address.host = address.host.substr(1, address.host.size() - 2);
    }
    else if (address.host.find_first_of(":[]") != std::string::npos)
    {
        return std::nullopt;
    }
    auto const* const begin = text.data() + colon + 1;
    auto const* const last = text.data() + text.size();
    auto const [end, error] = std::from_chars(begin, last, address.port);
    return error == std::errc() && end == last && begin != last && !address.host.empty() ? std::optional(address)
                                                                                         : std::nullopt;
}

ServiceSettings read_service_settings(std::filesystem::path const& directory)
{
    return read_project_file(RegularFile(directory / project_file_name, "the project file")).service;
}

} // namespace Ravik
