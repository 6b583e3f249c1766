#pragma once

#include "Configuration/Library.h"
#include "Configuration/PostgresConnection.h"
#include "Configuration/PostgresSchema.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The servers of a library, and how one of them holds its store. Locks are PostgreSQL's advisory ones: two numbers, of
/// which the first stands for a library or a process.
namespace Ravik::PostgresMembership
{

/// The first number of the locks of a library, by its id. The second is a server's number, or this one for the turn.
std::int32_t locks_of(std::string_view owner);
inline constexpr std::int32_t turn = 0;

/// Holds the caller's store until the connection ends. One of the same process, which must be a lost one, is ended.
/// Refused where another process has it, or the library does not know the store by that name.
void hold_store(PostgresConnection& connection, PostgresSchema const& schema, std::string const& library,
                Library::Caller const& caller);

std::vector<LibraryServer> servers(PostgresConnection& connection, PostgresSchema const& schema);
void enter(PostgresConnection& connection, PostgresSchema const& schema, LibraryServer const& server);
void strike(PostgresConnection& connection, PostgresSchema const& schema, LibraryServer const& server);
/// Those that hold their stores.
std::vector<LibraryPeer> peers(PostgresConnection& connection, PostgresSchema const& schema,
                               std::string const& library);

} // namespace Ravik::PostgresMembership
