#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/stream.hpp>

#include <linux/sockios.h>
#include <sys/ioctl.h>

#include <utility>

/// What differs between a connection in the clear and one with TLS.
namespace Ravik::Service
{

using PlainTransport = boost::asio::ip::tcp::socket;
using TlsTransport = boost::asio::ssl::stream<boost::asio::ip::tcp::socket>;

template <typename Transport> inline constexpr bool is_encrypted = false;
template <> inline constexpr bool is_encrypted<TlsTransport> = true;

inline PlainTransport& socket_of(PlainTransport& transport)
{
    return transport;
}

inline PlainTransport& socket_of(TlsTransport& transport)
{
    return transport.next_layer();
}

/// What has been written and the peer has not acknowledged.
inline int unsent_bytes(PlainTransport& socket)
{
    int bytes = 0;
    return ::ioctl(socket.native_handle(), SIOCOUTQ, &bytes) == 0 ? bytes : 0;
}

template <typename Then> void async_handshake(PlainTransport& /*transport*/, Then then)
{
    then(boost::system::error_code());
}

template <typename Then> void async_handshake(TlsTransport& transport, Then then)
{
    transport.async_handshake(boost::asio::ssl::stream_base::server, std::move(then));
}

/// Tells the peer that nothing follows, as far as the protocol has a word for it; whether it heard does not matter.
template <typename Then> void async_goodbye(PlainTransport& /*transport*/, Then then)
{
    then();
}

template <typename Then> void async_goodbye(TlsTransport& transport, Then then)
{
    transport.async_shutdown([then = std::move(then)](boost::system::error_code /*error*/) { then(); });
}

} // namespace Ravik::Service
