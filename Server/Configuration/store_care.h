#pragma once

#include "Configuration/ProjectError.h"

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace Ravik::StoreFile
{
struct Taken;
}

/// Looking after a store that no project has open. Each function takes the store for as long as it works, waiting so
/// long for another process, and throws `ProjectError` where that can't be or the medium fails; then the store is as it
/// was.
namespace Ravik
{

/// What a store was found to hold.
struct StoreReport
{
    /// The rows that are whole.
    std::size_t rows = 0;
    /// The records of the history that are whole.
    std::size_t records = 0;
    /// What is wrong, a text each; the store is whole where there is none.
    std::vector<std::string> faults;
    /// What a repair did with the copy of a library, for a person; empty where it stays as it was.
    std::string copy{};
    /// The paths of the recipes and recipe types whose rows were not whole and that the history gave back.
    std::vector<std::string> recovered;
    /// Where a store that was not whole, and that another took the place of, is kept now.
    std::filesystem::path kept_as;

    bool is_whole() const noexcept { return faults.empty(); }
};

/// Reads the store through and changes nothing; one that SQLite does not even open is damaged as any other. Throws
/// `ProjectError` where there is none.
StoreReport check_store(std::filesystem::path const& file, std::chrono::seconds wait);

/// A store that could be had stays as it is: what was asked can't be, or could not be carried through.
class StoreRefusal : public ProjectError
{
public:
    using ProjectError::ProjectError;
};

/// What `restore_store` may replace.
enum class Replaced
{
    /// Nothing that is lost by it: no store, an empty one, one with the same rows, and one that is damaged, which is
    /// kept under another name.
    nothing_whole,
    anything,
};

/// Puts a copy of the store `backup`, which has to be whole, in the store's place. Returns what it holds. Throws
/// `StoreRefusal` where the one or the other can't be.
StoreReport restore_store(std::filesystem::path const& file, std::filesystem::path const& backup, Replaced replaced,
                          std::chrono::seconds wait);

/// Makes a store of the rows and records that are whole, where some are not. A recipe or recipe type that is lost is
/// given back as the history left it, where all that it tells of it is whole; a row whose folder is lost gets one. A
/// copy of a library that is not whole keeps the rows that are, and goes back to revision 0, so that everything is read
/// anew; where it can't be told what it is of, its rows become the store's own. What was there is kept under another
/// name. Returns the rows kept, and what was wrong with the others. Throws `StoreRefusal` where nothing of it can be
/// read.
StoreReport repair_store(std::filesystem::path const& file, std::chrono::seconds wait);

/// Makes a store of the newest layout of one of an earlier version, in its place: all of it or nothing, also where the
/// process is killed on the way. Used by `Store::open`, which has taken the store.
void bring_over(StoreFile::Taken const& taken, std::filesystem::path const& file);

} // namespace Ravik
