#pragma once

#include "Configuration/Library.h"
#include "Configuration/RowSink.h"
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

/// What a store's copy of a library is of, and how far it has come.
struct LibraryCopy
{
    /// `LibraryHead::library`.
    std::string library;
    LibraryServer server;
    LibraryPosition position;

    friend bool operator==(LibraryCopy const& left, LibraryCopy const& right) = default;
};

/// The durable copy of the configuration: one SQLite file, opened by one process at a time.
///
/// Each row is what is saved as a whole: a recipe, a recipe type, a folder (without what it holds), or a top-level
/// entry outside the recipe lists. Rows keep the order of their first writing, which is the order of the entries in
/// their maps. Values are JSON text. Beside them it keeps the records of the history.
///
/// Not thread-safe. Every operation may throw `StoreError`.
class Store : public RowSink
{
public:
    /// Opens the store, makes it where there is no file, or brings over one of an earlier version. All of it is read
    /// and checked. Throws `ProjectError`: the file is no store of this program, or of a later version, or anything in
    /// it is damaged; another process has it open (after `wait` has passed); it can't be read or written.
    static std::unique_ptr<Store> open(std::filesystem::path const& file, std::chrono::seconds wait);

    Store(Store const&) = delete;
    Store& operator=(Store const&) = delete;
    ~Store() override = default;

    /// The configuration of a domain as it stood at opening, a map. It is handed out once, before anything is changed.
    virtual RavikSrv::Value load(std::string const& domain) = 0;

    /// Starts a transaction; the changes below belong to one, and all or none of them last.
    virtual void begin() = 0;
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
    /// The newest record of the edit in a library.
    virtual std::optional<StoredRecord> record_of_edit(std::string const& edit) = 0;

    // The copy of a library. The rows of the recipe management stand in it, in a table of their own, for as long as the
    // store has joined one; `put`, `erase` and `erase_below` are not for them then.

    /// What the copy is of, nothing where the store has joined none.
    virtual std::optional<LibraryCopy> library() const = 0;
    /// The row of the copy at the path, without its text.
    virtual std::optional<LibraryRow> shared_row(std::string const& path) = 0;
    /// The rows of the copy below the path, not the row itself, without their texts, by path.
    virtual std::vector<LibraryRow> shared_rows_below(std::string const& path) = 0;
    /// Brings the copy forward, in a transaction: writes the rows, takes those out that are removed, all others too
    /// where `is_whole`, and tells how far it has come. Their sum afterwards is `shared_sum()`.
    virtual void apply_shared(std::vector<LibraryRow> const& rows, bool is_whole, LibraryPosition const& position) = 0;
    /// The sum of the checksums of the copy's rows, as `LibraryHead::sum`.
    virtual std::uint64_t shared_sum() const = 0;
    /// Joins a library, in a transaction: the rows of the recipe management go, and the copy is empty at revision 0 of
    /// that library; one of another library is let go.
    virtual void join_library(LibraryCopy const& copy) = 0;
    /// Leaves it, in a transaction: the copy's rows become the store's own again, in their order.
    virtual void leave_library() = 0;
    /// All rows of the recipe management, be they the store's own or the copy's, by rank and with their texts.
    virtual std::vector<LibraryRow> recipe_rows() = 0;

    /// Writes a copy of the store, checks it and moves it to `target`, replacing what stands there. Called outside of
    /// transactions. Where it fails nothing is left at `target` but what stood there. Stores that are no files have
    /// none.
    virtual void backup(std::filesystem::path const& target);

protected:
    Store() = default;
};

} // namespace Ravik
