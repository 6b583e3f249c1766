#pragma once

#include <string>
#include <string_view>

/// Secrets that the service makes, and what is kept in the place of those that others keep.
namespace Ravik::Service
{

/// 256 random bits in 43 characters that need no escape anywhere.
std::string random_secret();
/// What a random secret is found by: its SHA-256 in hexadecimal. Without a salt, which only guessable secrets need.
std::string secret_hash(std::string_view secret);
/// Compares in a time that tells nothing of where the texts differ.
bool same_secret(std::string const& left, std::string const& right) noexcept;

/// Makes a text unreadable but for who has the secret, which covers nothing else: of the text it tells its length
/// alone.
std::string cover(std::string_view text, std::string_view secret);
/// The text again; empty where what is covered can't be such.
std::string uncover(std::string_view covered, std::string_view secret);

/// What a password is checked with: argon2id with 19 MiB and 2 passes. Throws `std::bad_alloc` without that memory.
std::string password_hash(std::string_view password);
/// Takes the same time and memory whether it is right or wrong.
bool is_password(std::string const& hash, std::string_view password) noexcept;
/// Whether `is_password` can do something with the hash, at a cost no higher than that of our own.
bool is_password_hash(std::string const& hash) noexcept;
/// A hash that is no user's: what a password is checked with where there is none to check it with.
std::string const& nobodys_password_hash();

} // namespace Ravik::Service
