#include "Http/forwarding.h"

#include "Http/text.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>

namespace Ravik::Service
{
namespace
{

/// What the nearest proxy added: the last element of the last field of that name.
std::string_view last_hop(Fields const& fields, std::string_view name)
{
    auto const last =
        std::find_if(fields.rbegin(), fields.rend(), [&](auto const& each) { return each.first == name; });
    if (last == fields.rend())
    {
        return {};
    }
    std::string_view const hops = last->second;
    auto const comma = hops.rfind(',');
    return trimmed(comma == std::string_view::npos ? hops : hops.substr(comma + 1));
}

std::string rewritten(int family, std::string const& address)
{
    std::array<unsigned char, sizeof(in6_addr)> bytes{};
    std::array<char, INET6_ADDRSTRLEN> text{};
    bool const is_address =
        ::inet_pton(family, address.c_str(), bytes.data()) == 1 &&
        ::inet_ntop(family, bytes.data(), text.data(), static_cast<socklen_t>(text.size())) != nullptr;
    return is_address ? text.data() : "";
}

} // namespace

std::string plain_address(std::string_view address)
{
    constexpr std::string_view mapped = "::ffff:";
    std::string const text(address);
    if (auto four = rewritten(AF_INET, text); !four.empty())
    {
        return four;
    }
    auto six = rewritten(AF_INET6, text);
    if (six.starts_with(mapped))
    {
        auto four = rewritten(AF_INET, six.substr(mapped.size()));
        return four.empty() ? six : four;
    }
    return six;
}

void believe_proxy(RequestHead& request)
{
    if (auto client = plain_address(last_hop(request.fields, "x-forwarded-for")); !client.empty())
    {
        request.address = std::move(client);
    }
    auto const scheme = last_hop(request.fields, "x-forwarded-proto");
    if (!scheme.empty())
    {
        request.secure = equals_ignoring_case(scheme, "https");
    }
}

} // namespace Ravik::Service
