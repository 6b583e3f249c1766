#pragma once

#include <string>

/// What stands in the way of names and passwords, for a person; empty where nothing does.
namespace Ravik::Service
{

/// Of a user or a token: 1 to 64 characters that one sees, no ':' or '/', no blank at either end, no control character
/// and none that changes the direction of writing. Names are the same where their bytes are.
std::string name_obstacle(std::string const& name);
/// At least 8 characters and at most 1024 bytes of UTF-8.
std::string password_obstacle(std::string const& password);

} // namespace Ravik::Service
