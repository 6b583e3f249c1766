#pragma once

#include "Http/HttpServer.h"

#include <openssl/ssl.h>

#include <memory>

namespace Ravik::Service
{

struct TlsContextDeleter
{
    void operator()(SSL_CTX* context) const noexcept { ::SSL_CTX_free(context); }
};
using TlsContext = std::unique_ptr<SSL_CTX, TlsContextDeleter>;

/// What serves with the files: TLS 1.2 and newer, buffers given back while a connection is idle, ALPN for HTTP/1.1
/// alone. Throws `std::runtime_error` with a message for a person where a file can't be used or they do not belong
/// together.
TlsContext make_tls_context(TlsFiles const& files);

/// Days until the certificate ends, negative after that.
double days_left(SSL_CTX const& context);

} // namespace Ravik::Service
