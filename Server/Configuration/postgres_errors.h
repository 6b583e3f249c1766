#pragma once

#include <string>
#include <string_view>

/// What PostgreSQL and libpq tell of failures, for a person. States are SQLSTATE codes.
namespace Ravik::PostgresErrors
{

/// The states of a value that is there already, and of a right that is missing.
inline constexpr std::string_view already_there = "23505";
inline constexpr std::string_view no_right = "42501";

/// Whether the failure is one of the moment: the database goes down, was waited for too long or has no place.
bool is_passing(std::string_view state);
/// What to do about it, to be added to a message; empty where nothing is known.
std::string advice(std::string_view state);
/// The text in one line, without the names of severities.
std::string in_one_line(std::string_view text);

} // namespace Ravik::PostgresErrors
