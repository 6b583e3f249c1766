#include "Access/secrets.h"

#include <array>
#include <new>
#include <sodium.h>
#include <stdexcept>

namespace Ravik::Service
{

namespace
{

constexpr auto base64 = sodium_base64_VARIANT_URLSAFE_NO_PADDING;
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

/// Covers bytes, and uncovers them.
void turn(std::string& bytes, std::string_view secret)
{
    make_ready();
    static_assert(crypto_stream_KEYBYTES == crypto_hash_sha256_BYTES);
    std::array<unsigned char, crypto_stream_KEYBYTES> key{};
    ::crypto_hash_sha256(key.data(), reinterpret_cast<unsigned char const*>(secret.data()), secret.size());
    // The key serves once.
    std::array<unsigned char, crypto_stream_NONCEBYTES> const nonce{};
    auto* const data = reinterpret_cast<unsigned char*>(bytes.data());
    ::crypto_stream_xor(data, data, bytes.size(), nonce.data(), key.data());
}

} // namespace

std::string random_secret()
{
    constexpr std::size_t size = 32;
    make_ready();
    std::array<unsigned char, size> bytes{};
    ::randombytes_buf(bytes.data(), bytes.size());
    std::array<char, sodium_base64_ENCODED_LEN(size, base64)> text{};
    return ::sodium_bin2base64(text.data(), text.size(), bytes.data(), bytes.size(), base64);
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

std::string cover(std::string_view text, std::string_view secret)
{
    std::string bytes(text);
    turn(bytes, secret);
    // With the zero at its end.
    std::string covered(sodium_base64_encoded_len(bytes.size(), base64), '\0');
    ::sodium_bin2base64(covered.data(), covered.size(), reinterpret_cast<unsigned char const*>(bytes.data()),
                        bytes.size(), base64);
    covered.pop_back();
    return covered;
}

std::string uncover(std::string_view covered, std::string_view secret)
{
    std::string bytes(covered.size(), '\0');
    std::size_t size = 0;
    if (::sodium_base642bin(reinterpret_cast<unsigned char*>(bytes.data()), bytes.size(), covered.data(),
                            covered.size(), nullptr, &size, nullptr, base64) != 0)
    {
        return {};
    }
    bytes.resize(size);
    turn(bytes, secret);
    return bytes;
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
