#pragma once

#include "Configuration/StoreError.h"
#include "Configuration/StoredRecord.h"
#include "RavikSrvExtApi.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Ravik
{

/// The durable copy of the configuration: one SQLite file, opened by one process at a time.
///
/// Each row is what is saved as a whole: a recipe, a recipe type, a folder (without what it holds), or a top-level
/// entry outside the recipe lists. Rows keep the order of their first writing, which is the order of the entries in
/// their maps. Values are JSON text. Beside them it keeps the records of the history.
///
/// Not thread-safe. Every operation may throw `StoreError`.
class Store
{
public:
    /// Opens the store, makes it where there is no file, or brings over one of an earlier version. All of it is read
    /// and checked. Throws `ProjectError`: the file is no store of this program, or of a later version, or anything in
    /// it is damaged; another process has it open (after `wait` has passed); it can't be read or written.
    static std::unique_ptr<Store> open(std::filesystem::path const& file, std::chrono::seconds wait);

    Store(Store const&) = delete;
    Store& operator=(Store const&) = delete;
    virtual ~Store() = default;

    /// The configuration of a domain as it stood at opening, a map. It is handed out once, before anything is changed.
    virtual RavikSrv::Value load(std::string const& domain) = 0;

    /// Starts a transaction; the changes below belong to one, and all or none of them last.
    virtual void begin() = 0;
    /// Writes the row; it keeps its place where there is one of that path. A null pointer writes a folder.
    virtual void put(std::string const& domain, std::string const& path, RavikSrv::Value const* value) = 0;
    /// Removes the row and all rows below it.
    virtual void erase(std::string const& domain, std::string const& path) = 0;
    /// Removes all rows below the path, not the row itself.
    virtual void erase_below(std::string const& domain, std::string const& path) = 0;
    /// Returns when all changes are on the medium.
    virtual void commit() = 0;
    virtual void rollback() noexcept = 0;

    // The history; what changes it belongs to a transaction.

    /// Adds a record, which is given the next number, and lets go of those that are out of bounds. Returns the number.
    virtual std::int64_t add_record(StoredRecord record, RecordBounds const& bounds) = 0;
    /// Puts the record in the place of the one of its number. Returns whether there is one.
    virtual bool replace_record(StoredRecord const& record) = 0;
    virtual std::optional<StoredRecord> record(std::int64_t id) = 0;
    /// Up to `most` records with numbers below `before`, the newest first.
    virtual std::vector<StoredRecord> records_before(std::int64_t before, std::size_t most) = 0;

    /// Writes a copy of the store, checks it and moves it to `target`, replacing what stands there. Called outside of
    /// transactions. Where it fails nothing is left at `target` but what stood there. Stores that are no files have
    /// none.
    virtual void backup(std::filesystem::path const& target);

protected:
    Store() = default;
};

} // namespace Ravik
