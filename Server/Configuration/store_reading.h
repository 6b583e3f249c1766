#pragma once

#include "Configuration/Sqlite.h"
#include "Configuration/store_format.h"

#include "RavikSrvExtApi.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>

/// Reading a store whole, and believing nothing of it that does not fit.
namespace Ravik::StoreFormat
{

/// What a store holds.
struct Content
{
    /// The configuration of each domain that has rows.
    std::map<std::string, RavikSrv::Value> trees;
    Sum sum;
    /// The highest rank of a row of the store's own.
    std::int64_t last_rank = 0;
    /// What its copy of a library is of.
    std::optional<LibraryCopy> library;
};

/// Takes each fault as a text that names the row at fault where it is one's.
using OnFault = std::function<void(std::string const& text)>;
/// Takes each row that is whole by itself, in their order.
using OnRow = std::function<void(Row const& row, Table table)>;

/// Takes each record of the history that is whole, in the order of their numbers.
using OnRecord = std::function<void(StoredRecord&& record)>;

/// Reads all rows and records once and checks what can be: the log, the tables, each page of the file, the indexes
/// against what they are of, every row, its parent and its value, and the sum of all. Of a store that gave no fault the
/// content is right. Whoever calls has taken the store.
Content read(sqlite3* database, std::filesystem::path const& file, std::int64_t version, OnFault const& on_fault,
             OnRow const& on_row = {}, OnRecord const& on_record = {});

/// A row's name in messages.
std::string name_of(Row const& row, Table table);

} // namespace Ravik::StoreFormat
