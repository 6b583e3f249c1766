#include "Http/Tls.h"

#include <openssl/err.h>
#include <openssl/x509.h>

#include <array>
#include <stdexcept>
#include <string>

namespace Ravik::Service
{
namespace
{

/// The oldest error that OpenSSL holds, and forgets the rest.
std::string openssl_error()
{
    std::array<char, 256> text{};
    ::ERR_error_string_n(::ERR_get_error(), text.data(), text.size());
    ::ERR_clear_error();
    return text.data();
}

/// Takes "http/1.1", and refuses a client that offers only others: one made for another protocol might be brought to
/// take our answers for its own.
int choose_protocol(SSL* /*connection*/, unsigned char const** out, unsigned char* out_length,
                    unsigned char const* offered, unsigned int offered_length, void* /*unused*/)
{
    static constexpr std::array<unsigned char, 9> ours{8, 'h', 't', 't', 'p', '/', '1', '.', '1'};
    unsigned char* chosen = nullptr;
    bool const is_offered =
        ::SSL_select_next_proto(&chosen, out_length, ours.data(), static_cast<unsigned int>(ours.size()), offered,
                                offered_length) == OPENSSL_NPN_NEGOTIATED;
    *out = chosen;
    return is_offered ? SSL_TLSEXT_ERR_OK : SSL_TLSEXT_ERR_ALERT_FATAL;
}

/// OpenSSL would ask the terminal for it.
int no_passphrase(char* /*buffer*/, int /*size*/, int /*writes*/, void* /*unused*/)
{
    return 0;
}

void set_up(SSL_CTX* context)
{
    ::SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION);
    ::SSL_CTX_set_options(context, SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_COMPRESSION | SSL_OP_CIPHER_SERVER_PREFERENCE);
    ::SSL_CTX_set_mode(context, SSL_MODE_RELEASE_BUFFERS);
    // Tickets resume sessions; a store of them here would only grow.
    ::SSL_CTX_set_session_cache_mode(context, SSL_SESS_CACHE_OFF);
    ::SSL_CTX_set_default_passwd_cb(context, no_passphrase);
    ::SSL_CTX_set_alpn_select_cb(context, choose_protocol, nullptr);
}

} // namespace

TlsContext make_tls_context(TlsFiles const& files)
{
    ::ERR_clear_error();
    TlsContext context(::SSL_CTX_new(::TLS_server_method()));
    if (!context)
    {
        throw std::runtime_error("TLS can't be used: " + openssl_error());
    }
    set_up(context.get());
    if (::SSL_CTX_use_certificate_chain_file(context.get(), files.certificate.c_str()) != 1)
    {
        throw std::runtime_error("The certificate " + files.certificate + " can't be used: " + openssl_error());
    }
    if (::SSL_CTX_use_PrivateKey_file(context.get(), files.key.c_str(), SSL_FILETYPE_PEM) != 1 ||
        ::SSL_CTX_check_private_key(context.get()) != 1)
    {
        throw std::runtime_error("The key " + files.key + " can't be used with the certificate " + files.certificate +
                                 ": " + openssl_error());
    }
    return context;
}

double days_left(SSL_CTX const& context)
{
    auto const* const certificate = ::SSL_CTX_get0_certificate(&context);
    int days = 0;
    int seconds = 0;
    ::ASN1_TIME_diff(&days, &seconds, nullptr, ::X509_get0_notAfter(certificate));
    return days + seconds / 86'400.0;
}

} // namespace Ravik::Service
