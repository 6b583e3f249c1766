#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace Ravik
{

/// A host and a port to listen on.
struct ListenAddress
{
    std::string host;
    std::uint16_t port = 0;
};

/// Reads "HOST:PORT", where an IPv6 address stands in brackets. Nothing for any other text.
std::optional<ListenAddress> read_listen_address(std::string const& text);

/// Where the files of TLS stand, relative ones in the project's folder.
struct TlsSettings
{
    std::filesystem::path certificate;
    std::filesystem::path key;
};

/// Of a service: how much of what it takes. The sizes are in bytes.
struct ServiceLimits
{
    std::size_t body = std::size_t{1} << 20U;
    std::size_t import = std::size_t{64} << 20U;
    std::size_t import_values = 4'000'000;
    std::size_t header = std::size_t{16} << 10U;
    std::chrono::milliseconds header_time{10'000};
    /// What bodies and answers have to come to in a second at least.
    std::size_t least_rate = 1000;
    std::size_t connections = 4000;
    std::size_t user_connections = 100;
    /// Of an address, without a user.
    std::size_t unknown_connections = 50;
};

/// What the project file says of the service.
struct ServiceSettings
{
    std::vector<ListenAddress> listen{{"127.0.0.1", 8420}};
    std::optional<TlsSettings> tls;
    /// The host names that it is known by besides those of loopback.
    std::vector<std::string> names;
    /// The addresses of proxies that are believed.
    std::vector<std::string> proxies;
    /// The group whose members may use the project through the socket as its owner does; empty for none.
    std::string group;
    /// How often watched values are read.
    std::chrono::milliseconds poll{1000};
    ServiceLimits limits;
};

/// What the project file in the folder says of the service. Throws `ProjectError` as opening the project does.
ServiceSettings read_service_settings(std::filesystem::path const& directory);

} // namespace Ravik
