#include "Access/token_session.h"

#include "Access/secrets.h"

namespace Ravik::Service
{

namespace
{

constexpr char separator = '.';

} // namespace

TokenHalves halves_of(std::string const& token, Principal const& principal)
{
    auto const cookie = session_mark(principal) + separator + random_secret();
    return {.cookie = cookie, .csrf = cover(token, cookie)};
}

bool is_proof(std::string const& cookie, std::string const& csrf, Principal const& principal)
{
    return same_secret(secret_hash(uncover(csrf, cookie)), principal.hash);
}

std::string session_mark(Principal const& principal)
{
    return secret_hash(std::string("session of ") + name_of(principal.role) + ' ' + principal.hash + ' ' +
                       principal.name);
}

std::string mark_of(std::string const& cookie)
{
    auto const end = cookie.find(separator);
    return end == std::string::npos ? std::string() : cookie.substr(0, end);
}

} // namespace Ravik::Service
