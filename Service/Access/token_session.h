#pragma once

#include "Access/Principal.h"

#include <string>

/// The sessions that are begun with a token. They last as long as it does, so none of them is remembered: the browser
/// keeps the token itself, in two halves each of which tells nothing of it. One is the cookie, which also goes to
/// whatever else runs on this machine, the other the CSRF token, which only the page has.
namespace Ravik::Service
{

struct TokenHalves
{
    std::string cookie;
    std::string csrf;
};

TokenHalves halves_of(std::string const& token, Principal const& principal);
/// Whether the halves are those of the principal's token. Takes both to be anything.
bool is_proof(std::string const& cookie, std::string const& csrf, Principal const& principal);

/// What the cookies of the principal's token begin with, by which it is found. Another role makes it another mark.
std::string session_mark(Principal const& principal);
/// The mark of a cookie, empty where it has none.
std::string mark_of(std::string const& cookie);

} // namespace Ravik::Service
