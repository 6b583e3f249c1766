#include "Configuration/store_care.h"

#include "Configuration/configuration_keys.h"
#include "Configuration/store_file.h"
#include "Configuration/store_reading.h"
#include "Configuration/store_recovery.h"
#include "Configuration/tree.h"
#include "Json/Json.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Ravik
{

namespace fs = std::filesystem;
using StoreFile::Replacement;

namespace
{

/// What a read of a whole store came to.
struct Examined
{
    StoreReport report;
    StoreFormat::Sum sum;
    std::optional<LibraryCopy> library;

    bool is_empty() const { return report.rows == 0 && report.records == 0 && sum.copy == 0; }
};

Examined examine(sqlite3* database, fs::path const& file, std::int64_t version, StoreFormat::OnRow const& on_row = {},
                 StoreFormat::OnRecord const& on_record = {})
{
    Examined examined;
    auto content = StoreFormat::read(
        database, file, version, [&](std::string const& fault) { examined.report.faults.push_back(fault); },
        [&](StoreFormat::Row const& row, StoreFormat::Table table)
        {
            ++examined.report.rows;
            if (on_row)
            {
                on_row(row, table);
            }
        },
        [&](StoredRecord&& record)
        {
            ++examined.report.records;
            if (on_record)
            {
                on_record(std::move(record));
            }
        });
    examined.sum = content.sum;
    examined.library = std::move(content.library);
    return examined;
}

StoreFile::Taken take_existing(fs::path const& file, std::chrono::seconds wait)
{
    return StoreFile::take(file, wait,
                           [&]
                           {
                               throw ProjectError("there is no store " + file.string() +
                                                  "; it is made by the first "
                                                  "command that opens the project");
                           });
}

/// `work` with SQLite's failures explained.
template <typename Work> auto explaining(fs::path const& file, Work const& work)
{
    try
    {
        return work();
    }
    catch (Sqlite::Error const& error)
    {
        StoreFile::explain(file, error);
    }
    catch (StoreError const& error)
    {
        throw ProjectError(file.string() + ": " + error.what());
    }
    catch (fs::filesystem_error const& error)
    {
        throw ProjectError(error.what());
    }
}

/// The file under its own name, where it is a link.
fs::path resolved(fs::path const& file)
{
    return fs::exists(file) ? fs::canonical(file) : file;
}

// Keeping what another store takes the place of -----------------------------------------------------------------------

/// A free name beside the file.
fs::path name_to_keep(fs::path const& file)
{
    for (int number = 1;; ++number)
    {
        fs::path name = file.string() + ".damaged-" + std::to_string(number);
        if (!fs::exists(name))
        {
            return name;
        }
    }
}

/// Puts the replacement in the file's place, which stays there under another name, with its log. Returns that name.
fs::path replace_and_keep(Replacement& replacement, fs::path const& file)
{
    auto kept = name_to_keep(file);
    fs::create_hard_link(file, kept);
    replacement.become_target(StoreFile::log_of(kept));
    return kept;
}

/// Brings the log of a store that is whole, and taken, into its file, and leaves it empty.
void empty_log(sqlite3* database)
{
    StoreFile::settle(database);
    Sqlite::Statement checkpoint(database, "PRAGMA wal_checkpoint(TRUNCATE)");
    if (!checkpoint.step() || checkpoint.integer(0) != 0)
    {
        throw StoreError("its log could not be brought into it");
    }
}

// Rows ----------------------------------------------------------------------------------------------------------------

/// A row that is kept.
struct KeptRow
{
    StoreFormat::Table table;
    std::int64_t rank;
    std::string domain;
    std::string path;
    std::optional<std::string> text;

    explicit KeptRow(StoreFormat::Row const& row, StoreFormat::Table its_table)
        : table(its_table), rank(row.rank), domain(row.domain), path(row.path), text(row.text)
    {
    }

    StoreFormat::Row row() const
    {
        StoreFormat::Row row{.rank = rank, .domain = domain, .path = path, .text = std::nullopt};
        if (text)
        {
            row.text = *text;
        }
        return row;
    }
};

using Rows = std::vector<KeptRow>;

std::int64_t last_rank_of(Rows const& rows)
{
    std::int64_t last = 0;
    for (auto const& row : rows)
    {
        last = std::max(last, row.rank);
    }
    return last;
}

/// What a store is made of.
struct Kept
{
    Rows rows;
    std::vector<StoredRecord> records;
    /// The highest number that a record ever had, 0 where only the records tell.
    std::uint64_t last_record = 0;
    std::optional<LibraryCopy> library;

    StoreFormat::OnRow row_taker()
    {
        return [this](StoreFormat::Row const& row, StoreFormat::Table table) { rows.emplace_back(row, table); };
    }
    StoreFormat::OnRecord record_taker()
    {
        return [this](StoredRecord&& record) { records.push_back(std::move(record)); };
    }
};

/// Makes the replacement a store of these rows and records, and makes sure of it.
void write_kept(Replacement& replacement, Kept const& kept)
{
    replacement.make_empty();
    {
        auto const database = replacement.open();
        Sqlite::execute(database.get(), "PRAGMA journal_mode=MEMORY; BEGIN");
        StoreFormat::RowWriter writer(database.get(), StoreFormat::Table::own);
        StoreFormat::RowWriter shared_writer(database.get(), StoreFormat::Table::shared);
        StoreFormat::Sum sum;
        sum.history.last = kept.last_record;
        for (auto const& row : kept.rows)
        {
            row.table == StoreFormat::Table::own ? sum.own.add(writer.insert(row.row()))
                                                 : sum.shared.add(shared_writer.insert(row.row()));
        }
        StoreFormat::write_copy(database.get(), kept.library);
        sum.copy = kept.library ? StoreFormat::checksum(*kept.library) : 0;
        StoreFormat::RecordWriter record_writer(database.get());
        for (auto const& record : kept.records)
        {
            sum.history.add(record_writer.write(record), StoreFormat::bytes_of(record));
            sum.history.last = std::max(sum.history.last, static_cast<std::uint64_t>(record.id));
        }
        StoreFormat::write_sum(database.get(), sum);
        Sqlite::execute(database.get(), "COMMIT");
    }
    replacement.stamp();
    auto const report = check_store(replacement.file(), std::chrono::seconds(0));
    if (!report.is_whole())
    {
        throw StoreError("the new store did not come out right: " + report.faults.front());
    }
}

/// Of the rows that are whole those that can stand together: each path once, and a folder for each row, which is made
/// where it is lost.
class Reunion
{
public:
    explicit Reunion(Rows const& rows)
    {
        for (auto const& row : rows)
        {
            m_last_rank = std::max(m_last_rank, row.rank);
            m_rows.emplace(std::pair(row.domain, row.path), &row);
        }
        for (auto const& row : rows)
        {
            if (m_rows.at({row.domain, row.path}) == &row && has_folder(row, row.path))
            {
                m_kept.push_back(row);
            }
        }
    }

    Rows take() { return std::move(m_kept); }

private:
    /// `row` is the one that needs the folder of the path.
    bool has_folder(KeptRow const& row, std::string const& path)
    {
        auto const& domain = row.domain;
        auto const parent = Tree::split_last(path).parent;
        if (parent.empty() || m_made.contains({domain, parent}))
        {
            return true;
        }
        auto const found = m_rows.find({domain, parent});
        if (found != m_rows.end())
        {
            return !found->second->text && has_folder(row, parent);
        }
        if (!has_folder(row, parent))
        {
            return false;
        }
        m_made.emplace(domain, parent);
        m_kept.emplace_back(
            StoreFormat::Row{.rank = ++m_last_rank, .domain = domain, .path = parent, .text = std::nullopt}, row.table);
        return true;
    }

    std::map<std::pair<std::string, std::string>, KeptRow const*> m_rows;
    std::set<std::pair<std::string, std::string>> m_made;
    Rows m_kept;
    std::int64_t m_last_rank = 0;
};

// Restoring -----------------------------------------------------------------------------------------------------------

void copy_bytes(fs::path const& from, fs::path const& to)
{
    std::ifstream source(from, std::ios::binary);
    std::ofstream target(to, std::ios::binary);
    if (!source)
    {
        throw StoreRefusal(from.string() + " can't be read: " + std::generic_category().message(errno));
    }
    target << source.rdbuf();
    target.close();
    if (!source || !target)
    {
        throw StoreRefusal(from.string() + " can't be copied to " + to.string());
    }
}

/// Makes the replacement a copy of the backup, as a store of its own.
Examined copy_backup(Replacement& replacement, fs::path const& backup)
{
    if (!fs::is_regular_file(backup) || fs::file_size(backup) == 0)
    {
        throw StoreRefusal(backup.string() + (fs::exists(backup) ? " is no backup of a store" : " does not exist"));
    }
    copy_bytes(backup, replacement.file());
    if (fs::exists(StoreFile::log_of(backup)))
    {
        copy_bytes(StoreFile::log_of(backup), StoreFile::log_of(replacement.file()));
    }
    Examined examined;
    try
    {
        auto const taken = take_existing(replacement.file(), std::chrono::seconds(0));
        examined = examine(taken.database.get(), replacement.file(), taken.version);
        if (!examined.report.is_whole())
        {
            throw StoreFile::Damaged(backup, examined.report.faults.front());
        }
        empty_log(taken.database.get());
        if (taken.version == StoreFormat::without_checksums)
        {
            return examined;
        }
    }
    catch (StoreFile::Damaged const& damaged)
    {
        throw StoreRefusal(backup.string() + " is not restored, it is no whole store: " + damaged.fault());
    }
    catch (ProjectError const& error)
    {
        throw StoreRefusal(backup.string() + " is not restored: " + error.what());
    }
    replacement.stamp();
    return examined;
}

bool holds_the_same(Examined const& left, Examined const& right)
{
    return left.sum.own == right.sum.own && left.sum.shared == right.sum.shared && left.sum.copy == right.sum.copy &&
           left.report.rows == right.report.rows && left.sum.history.records == right.sum.history.records &&
           left.sum.history.total == right.sum.history.total;
}

} // namespace

StoreReport check_store(fs::path const& file, std::chrono::seconds wait)
{
    return explaining(file,
                      [&]
                      {
                          try
                          {
                              auto const taken = take_existing(resolved(file), wait);
                              auto report = examine(taken.database.get(), resolved(file), taken.version).report;
                              if (report.is_whole())
                              {
                                  StoreFile::settle(taken.database.get());
                              }
                              return report;
                          }
                          catch (StoreFile::Damaged const& damaged)
                          {
                              StoreReport report;
                              report.faults.push_back(damaged.fault());
                              return report;
                          }
                      });
}

namespace
{

StoreReport put_in_place(Replacement& replacement, Examined const& restored, fs::path const& file, Replaced replaced,
                         std::chrono::seconds wait)
{
    auto report = restored.report;
    try
    {
        auto const taken = take_existing(file, wait);
        auto const there = examine(taken.database.get(), file, taken.version);
        if (!there.report.is_whole())
        {
            report.kept_as = replace_and_keep(replacement, file);
            return report;
        }
        if (!there.is_empty() && !holds_the_same(there, restored) && replaced == Replaced::nothing_whole)
        {
            throw StoreRefusal(file.string() + " is whole and holds something else, " +
                               std::to_string(there.report.rows) + " rows; --force replaces it");
        }
        // First everything that was acknowledged is in the file: whatever stops this, nothing of it is lost.
        empty_log(taken.database.get());
        replacement.become_target();
    }
    catch (StoreFile::Damaged const&)
    {
        report.kept_as = replace_and_keep(replacement, file);
    }
    return report;
}

} // namespace

StoreReport restore_store(fs::path const& name, fs::path const& backup, Replaced replaced, std::chrono::seconds wait)
{
    return explaining(name,
                      [&]
                      {
                          auto const file = resolved(name);
                          if (fs::exists(file) && fs::exists(backup) && fs::equivalent(file, backup))
                          {
                              throw StoreRefusal(backup.string() + " is the store itself");
                          }
                          Replacement replacement(file);
                          auto const restored = copy_backup(replacement, backup);
                          if (fs::exists(file))
                          {
                              return put_in_place(replacement, restored, file, replaced, wait);
                          }
                          replacement.become_target();
                          return restored.report;
                      });
}

namespace
{

/// What is whole of a store, with what is wrong with it.
struct Collected
{
    StoreReport report;
    Kept kept;
    bool has_lost_rows = false;
    /// Whether the copy of a library, if there was one, is as it was written.
    bool is_copy_whole = true;
};

Collected collect(sqlite3* database, fs::path const& file, std::int64_t version)
{
    Collected collected;
    auto examined = examine(database, file, version, collected.kept.row_taker(), collected.kept.record_taker());
    StoreFormat::RowSum shared;
    for (auto const& row : collected.kept.rows)
    {
        row.table == StoreFormat::Table::shared ? shared.add(StoreFormat::checksum(row.row())) : void();
    }
    auto const& library = examined.library;
    collected.is_copy_whole =
        shared == examined.sum.shared && examined.sum.copy == (library ? StoreFormat::checksum(*library) : 0);
    collected.has_lost_rows = examined.sum.own.rows + shared.rows != examined.report.rows;
    collected.kept.last_record = examined.sum.history.last;
    collected.kept.library = std::move(examined.library);
    collected.report = std::move(examined.report);
    return collected;
}

/// A copy that is not whole is read anew; one of nobody knows what is none any more.
void settle_copy(Collected& collected)
{
    auto& rows = collected.kept.rows;
    auto& library = collected.kept.library;
    if (collected.is_copy_whole)
    {
        return;
    }
    if (library)
    {
        library->position = {};
        collected.report.copy = "Its copy of a library keeps what is whole, until everything is read anew from there.";
        return;
    }
    collected.report.copy =
        "The library that it had joined is not known any more; what is whole of its copy is the store's own now.";
    collected.has_lost_rows = true;
    auto last_rank = last_rank_of(rows);
    for (auto& row : rows)
    {
        if (row.table == StoreFormat::Table::shared)
        {
            row.table = StoreFormat::Table::own;
            row.rank = ++last_rank;
        }
    }
}

/// Adds the entries that only the history still tells of. Those of a library are had from there.
void recover(Collected& collected)
{
    std::set<std::pair<std::string, std::string>> present;
    auto last_rank = last_rank_of(collected.kept.rows);
    for (auto const& row : collected.kept.rows)
    {
        present.emplace(row.domain, row.path);
    }
    Recovery recovery;
    for (auto const& record : collected.kept.records)
    {
        recovery.take(record);
    }
    recovery.for_each(
        [&](std::string const& domain, std::string const& path, RavikSrv::Value const& entry)
        {
            auto const is_shared = collected.kept.library && domain == recipe_domain;
            if (!is_shared && !present.contains({domain, path}))
            {
                auto const text = Json::write(entry);
                collected.kept.rows.emplace_back(
                    StoreFormat::Row{.rank = ++last_rank, .domain = domain, .path = path, .text = text},
                    StoreFormat::Table::own);
                collected.report.recovered.push_back(path);
            }
        });
}

/// The rows of the file as it stands below its log.
Collected collect_without_log(fs::path const& file)
{
    auto const database = Sqlite::open_without_log(file);
    auto const version = Sqlite::number(database.get(), "PRAGMA user_version");
    auto const is_known = version >= StoreFormat::without_checksums && version <= StoreFormat::newest;
    return collect(database.get(), file, is_known ? version : StoreFormat::newest);
}

/// What can be had of a store that could not be taken.
Collected collect_untaken(fs::path const& file, StoreFile::Damaged const& damaged)
{
    Collected collected;
    try
    {
        collected = collect_without_log(file);
    }
    catch (Sqlite::Error const&)
    {
        // Nothing can be had.
    }
    collected.report.faults.push_back(StoreFile::has_log(file) ? "its log does not fit it; what stood in it is lost"
                                                               : damaged.fault());
    return collected;
}

/// What can be had of a store that is taken. Where the file alone is whole its log is what is wrong.
Collected collect_taken(StoreFile::Taken const& taken, fs::path const& file)
{
    auto collected = collect(taken.database.get(), file, taken.version);
    if (!collected.report.is_whole() && StoreFile::has_log(file))
    {
        auto alone = collect_without_log(file);
        if (alone.report.is_whole())
        {
            collected.kept = std::move(alone.kept);
            collected.has_lost_rows = false;
            collected.is_copy_whole = true;
        }
    }
    return collected;
}

StoreReport repair_with(Collected& collected, fs::path const& file)
{
    settle_copy(collected);
    if (collected.has_lost_rows)
    {
        recover(collected);
    }
    collected.kept.rows = Reunion(collected.kept.rows).take();
    if (collected.kept.rows.empty())
    {
        throw StoreRefusal(file.string() + ": " + collected.report.faults.front() +
                           "; no row of it can be had: 'ravik store restore FILE' puts a backup in its place, or move "
                           "it away to start anew");
    }
    Replacement replacement(file);
    write_kept(replacement, collected.kept);
    collected.report.rows = collected.kept.rows.size();
    collected.report.kept_as = replace_and_keep(replacement, file);
    return collected.report;
}

} // namespace

StoreReport repair_store(fs::path const& name, std::chrono::seconds wait)
{
    return explaining(name,
                      [&]
                      {
                          auto const file = resolved(name);
                          std::optional<StoreFile::Taken> taken;
                          Collected collected;
                          try
                          {
                              taken = take_existing(file, wait);
                              collected = collect_taken(*taken, file);
                          }
                          catch (StoreFile::Damaged const& damaged)
                          {
                              collected = collect_untaken(file, damaged);
                          }
                          if (collected.report.is_whole())
                          {
                              StoreFile::settle(taken->database.get());
                              return collected.report;
                          }
                          return repair_with(collected, file);
                      });
}

void bring_over(StoreFile::Taken const& taken, fs::path const& file)
{
    Kept kept;
    auto const examined = examine(taken.database.get(), file, taken.version, kept.row_taker(), kept.record_taker());
    if (!examined.report.is_whole())
    {
        throw StoreFile::Damaged(file, examined.report.faults.front());
    }
    kept.last_record = examined.sum.history.last;
    kept.library = examined.library;
    Replacement replacement(file);
    write_kept(replacement, kept);
    empty_log(taken.database.get());
    replacement.become_target();
}

} // namespace Ravik
