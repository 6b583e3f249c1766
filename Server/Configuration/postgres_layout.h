#pragma once

#include "Configuration/Library.h"
#include "Configuration/PostgresConnection.h"
#include "Configuration/PostgresSchema.h"

#include <string>

/// The tables of a library.
namespace Ravik::PostgresLayout
{

inline constexpr std::int64_t newest = 1;

/// Refused unless the schema holds a library of the layout that this program knows.
void expect_library(PostgresConnection& connection, PostgresSchema const& schema);
/// Makes the tables, with an empty library. Returns what was done, for a person. Refused where something else stands in
/// the schema, or a library of another layout; `upgrade` brings an older one over.
std::string initialise(PostgresConnection& connection, PostgresSchema const& schema, bool upgrade);

/// Reads the head, and locks it for the transaction where that is wanted.
PostgresStatement select_head(PostgresSchema const& schema, bool to_lock);
/// The head of the answer; refused where there is none or it is of another layout.
LibraryHead head_of(PostgresResult const& result, PostgresConnection const& connection, PostgresSchema const& schema);

} // namespace Ravik::PostgresLayout
