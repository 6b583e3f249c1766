#pragma once

#include "Configuration/Library.h"
#include "Configuration/PostgresConnection.h"
#include "Configuration/PostgresSchema.h"
#include "Configuration/PostgresStatement.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

/// How an edit is written into a library.
namespace Ravik::PostgresEdit
{

/// The texts of a record that stand in columns of their names; beside them stand `time`, which the database gives, and
/// `edit`, which is that of the revision.
inline constexpr std::array record_texts{&StoredRecord::server, &StoredRecord::who,     &StoredRecord::action,
                                         &StoredRecord::asked,  &StoredRecord::outcome, &StoredRecord::text,
                                         &StoredRecord::note,   &StoredRecord::body,    &StoredRecord::places};
inline constexpr std::string_view record_columns = "server, who, action, asked, outcome, text, note, body, places";

/// What makes the edit in a turn, the COMMIT last. Rows and records that are too old go along.
std::vector<PostgresStatement> statements(PostgresSchema const& schema, LibraryEdit const& edit);
/// The times that the records were given.
std::vector<std::string> times(PostgresConnection::Results const& results, LibraryEdit const& edit);

} // namespace Ravik::PostgresEdit
