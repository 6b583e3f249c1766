#pragma once

#include "Configuration/ProjectError.h"
#include "Configuration/Sqlite.h"
#include "Configuration/store_format.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>

/// The store as a file: who may have it, how one takes the place of another, and the write-ahead log beside it.
namespace Ravik::StoreFile
{

/// A store that this process alone has open.
struct Taken
{
    Sqlite::Database database;
    /// Its layout, a version that this program knows.
    std::int64_t version = 0;
};

/// Takes the store for this process. As it comes it leaves file and log alone, also when it is closed; `settle` ends
/// that. Throws `ProjectError` with what to do where the file may not be read or written, is no store, is one of a
/// later version, or is open elsewhere and stays so until `wait` has passed. `missing` is called where there is no
/// file, and again for each new try; it may make one.
Taken take(std::filesystem::path const& file, std::chrono::seconds wait, std::function<void()> const& missing);

/// Lets the store, which was found to be whole, be written, and its log be brought into the file when it is closed.
void settle(sqlite3* database);

/// Whether the log beside the store belongs to another file, or to another state of this one: then what SQLite shows is
/// neither. Called for a store with checksums that is taken.
bool has_foreign_log(sqlite3* database, std::filesystem::path const& file);
/// The stamp that stands in the file itself, nothing where it can't be read.
std::optional<std::uint64_t> stamp_in_file(std::filesystem::path const& file);

/// The log that SQLite keeps beside the file, and whether it is there and holds anything.
std::filesystem::path log_of(std::filesystem::path const& file);
bool has_log(std::filesystem::path const& file);

/// A store that can't be believed, or not be read; `what()` tells what to do.
class Damaged : public ProjectError
{
public:
    /// "FILE: FAULT", and the commands that help.
    Damaged(std::filesystem::path const& file, std::string const& fault);

    /// What is wrong alone.
    std::string const& fault() const noexcept { return m_fault; }

private:
    std::string m_fault;
};

/// Throws a failure of SQLite as a `ProjectError` with the file and what to do.
[[noreturn]] void explain(std::filesystem::path const& file, Sqlite::Error const& error);

/// Throws `StoreError` where a copy of the store `file` can't stand at `target`: that is the store, or a name beside it
/// that means something.
void check_copy_target(std::filesystem::path const& file, std::filesystem::path const& target);

/// A store in the making, under a name of its own beside the file that it is to become. Its mode is 0600. One process
/// at a time makes one; another's attempt throws an `Sqlite::Error` with SQLITE_BUSY. What a killed process left of one
/// is taken over.
class Replacement
{
public:
    /// Throws `ProjectError` where the file can't be made.
    explicit Replacement(std::filesystem::path const& target);
    Replacement(Replacement const&) = delete;
    Replacement& operator=(Replacement const&) = delete;
    ~Replacement();

    /// An empty file.
    std::filesystem::path const& file() const noexcept { return m_file; }

    /// Opens the file for writing it; what is written is on the medium only once it has become its target.
    Sqlite::Database open() const;
    /// Makes the tables of an empty store.
    void make_empty() const;
    /// Gives the store, which is complete, a stamp of its own, so that no log of another fits it.
    void stamp() const;
    /// Moves it, closed and with a stamp, to where it belongs, on the medium too, and takes the owner of what stood
    /// there. A log that stood there is removed or, where a name is given, kept under it.
    void become_target(std::filesystem::path const& log_kept_as = {});

private:
    void lock();

    std::filesystem::path m_target;
    std::filesystem::path m_file;
    int m_descriptor = -1;
    bool m_done = false;
};

} // namespace Ravik::StoreFile
