#pragma once

#include "Http/Message.h"

#include <string>
#include <string_view>
#include <vector>

namespace Ravik::Service
{

/// The address as it is written everywhere: IPv4 within IPv6 (::ffff:127.0.0.1) as IPv4, IPv6 in its short form. Empty
/// for a text that is no address.
std::string plain_address(std::string_view address);

/// Whom a proxy speaks for, by its last hop: X-Forwarded-For and -Proto, as far as they say something that can be read.
/// `request` comes with the peer's own address and link, and its fields.
void believe_proxy(RequestHead& request);

} // namespace Ravik::Service
