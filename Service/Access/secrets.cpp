#include "Access/secrets.h"

#include <array>
#include <new>
#include <sodium.h>
#include <stdexcept>

namespace Ravik::Service
{

namespace
{

constexpr unsigned long long passes = 2;
constexpr std::size_t memory = std::size_t{19} * 1024 * 1024;

/// To be called before anything else of the library.
void make_ready()
{
    static auto const outcome = ::sodium_init();
    if (outcome < 0)
    {
        throw std::runtime_error("the system gives no random numbers");
    }
}

} // namespace

std::string random_secret()
{
    constexpr std::size_t size = 32;
    constexpr auto variant = sodium_base64_VARIANT_URLSAFE_NO_PADDING;
    make_ready();
    std::array<unsigned char, size> bytes{};
    ::randombytes_buf(bytes.data(), bytes.size());
    std::array<char, sodium_base64_ENCODED_LEN(size, variant)> text{};
    return ::sodium_bin2base64(text.data(), text.size(), bytes.data(), bytes.size(), variant);
}

std::string secret_hash(std::string_view secret)
{
    make_ready();
    std::array<unsigned char, crypto_hash_sha256_BYTES> hash{};
    ::crypto_hash_sha256(hash.data(), reinterpret_cast<unsigned char const*>(secret.data()), secret.size());
    std::array<char, 2 * crypto_hash_sha256_BYTES + 1> text{};
    return ::sodium_bin2hex(text.data(), text.size(), hash.data(), hash.size());
}

bool same_secret(std::string const& left, std::string const& right) noexcept
{
    return left.size() == right.size() && ::sodium_memcmp(left.data(), right.data(), left.size()) == 0;
}

std::string password_hash(std::string_view password)
{
    make_ready();
    std::array<char, crypto_pwhash_STRBYTES> text{};
    if (::crypto_pwhash_str_alg(text.data(), password.data(), password.size(), passes, memory,
                                crypto_pwhash_ALG_ARGON2ID13) != 0)
    {
        throw std::bad_alloc();
    }
    return text.data();
}

bool is_password(std::string const& hash, std::string_view password) noexcept
{
    return ::crypto_pwhash_str_verify(hash.c_str(), password.data(), password.size()) == 0;
}

bool is_password_hash(std::string const& hash) noexcept
{
    // The library reads the costs out of the hash. One that somebody has written by hand must not stop the service.
    return hash.size() < crypto_pwhash_STRBYTES && hash.starts_with(crypto_pwhash_argon2id_STRPREFIX) &&
           ::crypto_pwhash_str_needs_rehash(hash.c_str(), passes, memory) == 0;
}

std::string const& nobodys_password_hash()
{
    static auto const hash = password_hash(random_secret());
    return hash;
}

} // namespace Ravik::Service
