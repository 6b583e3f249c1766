#include "Configuration/Store.h"

#include "Configuration/ProjectError.h"
#include "Configuration/SharedRows.h"
#include "Configuration/Sqlite.h"
#include "Configuration/configuration_keys.h"
#include "Configuration/store_care.h"
#include "Configuration/store_file.h"
#include "Configuration/store_format.h"
#include "Configuration/store_reading.h"

#include "Json/Json.h"

#include <bit>
#include <utility>

namespace Ravik
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

/// The length of the log, in pages, from which on a commit brings it into the file.
constexpr int longest_log = 1000;

class SqliteStore : public Store
{
public:
    /// `content` is what the database, which was taken, holds.
    SqliteStore(Sqlite::Database database, std::filesystem::path file, StoreFormat::Content content);

    Value load(std::string const& domain) override;
    void begin() override;
    void put(std::string const& domain, std::string const& path, Value const* value) override;
    void erase(std::string const& domain, std::string const& path) override;
    void erase_below(std::string const& domain, std::string const& path) override;
    void commit() override;
    void rollback() noexcept override;
    std::int64_t add_record(StoredRecord record, RecordBounds const& bounds) override;
    bool replace_record(StoredRecord const& record) override;
    std::optional<StoredRecord> record(std::int64_t id) override;
    std::vector<StoredRecord> records_before(std::int64_t before, std::size_t most) override;
    std::optional<StoredRecord> record_of_edit(std::string const& edit) override;
    std::optional<LibraryCopy> library() const override;
    std::optional<LibraryRow> shared_row(std::string const& path) override { return m_shared.find(path); }
    std::vector<LibraryRow> shared_rows_below(std::string const& path) override { return m_shared.below(path); }
    void apply_shared(std::vector<LibraryRow> const& rows, bool is_whole, LibraryPosition const& position) override;
    std::uint64_t shared_sum() const override { return m_sum.shared.total; }
    void join_library(LibraryCopy const& copy) override;
    void leave_library() override;
    std::vector<LibraryRow> recipe_rows() override;
    void backup(std::filesystem::path const& target) override;

private:
    void check_own(std::string const& domain) const;
    void change(StoreFormat::Row const& row, std::uint64_t before);
    void erase_rows(Sqlite::Statement& erase, std::string const& domain, std::string const& path);
    void drop_records(RecordBounds const& bounds);
    void set_library(std::shared_ptr<LibraryCopy const> copy);
    void remember_gap() noexcept;
    void shorten_log() noexcept;

    std::filesystem::path m_file;
    Sqlite::Database m_database;
    Sqlite::Statement m_find;
    Sqlite::Statement m_change;
    StoreFormat::RowWriter m_writer;
    Sqlite::Statement m_erase;
    Sqlite::Statement m_erase_below;
    StoreFormat::RecordWriter m_record_writer;
    Sqlite::Statement m_oldest_record;
    Sqlite::Statement m_erase_record;
    /// What was read at opening and not handed out yet.
    std::map<std::string, Value> m_loaded;
    std::int64_t m_last_rank;
    /// The sum as the transaction leaves it, and as it was before.
    StoreFormat::Sum m_sum;
    StoreFormat::Sum m_committed;
    /// What the copy of a library is of, null without one; as the transaction leaves it, and as it was before.
    std::shared_ptr<LibraryCopy const> m_library;
    std::shared_ptr<LibraryCopy const> m_committed_library;
    SharedRows m_shared;
    /// The pages in the log.
    int m_log_length = 0;
};

SqliteStore::SqliteStore(Sqlite::Database database, std::filesystem::path file, StoreFormat::Content content)
    : m_file(std::move(file)), m_database(std::move(database)),
      m_find(m_database.get(), "SELECT rank, checksum FROM entry WHERE domain = ?1 AND path = ?2"),
      m_change(m_database.get(), "UPDATE entry SET value = ?2, checksum = ?3 WHERE rank = ?1"),
      m_writer(m_database.get(), StoreFormat::Table::own),
      m_erase(m_database.get(), "DELETE FROM entry WHERE domain = ?1 AND path = ?2 RETURNING checksum"),
      // Paths below P stand between P:: and P:; in the order of their bytes, since ; follows :
      m_erase_below(m_database.get(), "DELETE FROM entry WHERE domain = ?1 AND path > ?2 || '::' AND path < ?2 || ':;' "
                                      "RETURNING checksum"),
      m_record_writer(m_database.get()),
      m_oldest_record(m_database.get(), "SELECT id, time FROM history ORDER BY id LIMIT 1"),
      m_erase_record(m_database.get(), "DELETE FROM history WHERE id = ?1"), m_loaded(std::move(content.trees)),
      m_last_rank(content.last_rank), m_sum(content.sum), m_committed(content.sum),
      m_library(content.library ? std::make_shared<LibraryCopy const>(*content.library) : nullptr),
      m_committed_library(m_library), m_shared(m_database.get(), m_sum.shared)
{
    m_sum.base = StoreFile::stamp_in_file(m_file).value_or(m_sum.stamp);
    sqlite3_wal_hook(
        m_database.get(),
        [](void* store, sqlite3*, char const*, int pages)
        {
            static_cast<SqliteStore*>(store)->m_log_length = pages;
            return SQLITE_OK;
        },
        this);
}

Value SqliteStore::load(std::string const& domain)
{
    auto found = m_loaded.extract(domain);
    return found.empty() ? Value(ValueType::Map) : std::move(found.mapped());
}

void SqliteStore::begin()
{
    m_loaded.clear();
    Sqlite::execute(m_database.get(), "BEGIN IMMEDIATE");
}

/// Rows of the recipe management that stood beside the copy of a library would be nobody's.
void SqliteStore::check_own(std::string const& domain) const
{
    if (m_library != nullptr && domain == recipe_domain)
    {
        throw StoreError("the configuration of " + domain + " is that of a library");
    }
}

void SqliteStore::put(std::string const& domain, std::string const& path, Value const* value)
{
    check_own(domain);
    auto const text = value == nullptr ? std::string() : Json::write(*value, Json::Layout::Compact);
    StoreFormat::Row row{.rank = 0, .domain = domain, .path = path, .text = std::nullopt};
    if (value != nullptr)
    {
        row.text = text;
    }
    m_find.bind(1, std::string_view(domain)).bind(2, std::string_view(path));
    if (m_find.step())
    {
        row.rank = m_find.integer(0);
        auto const before = std::bit_cast<std::uint64_t>(m_find.integer(1));
        m_find.run();
        change(row, before);
        return;
    }
    row.rank = ++m_last_rank;
    m_sum.own.add(m_writer.insert(row));
}

/// Writes a row that is there; `before` is its checksum so far.
void SqliteStore::change(StoreFormat::Row const& row, std::uint64_t before)
{
    auto const after = StoreFormat::checksum(row);
    m_change.bind(1, row.rank).bind(2, row.text).bind(3, std::bit_cast<std::int64_t>(after)).run();
    m_sum.own.remove(before);
    m_sum.own.add(after);
}

void SqliteStore::erase(std::string const& domain, std::string const& path)
{
    erase_rows(m_erase, domain, path);
    erase_below(domain, path);
}

void SqliteStore::erase_below(std::string const& domain, std::string const& path)
{
    erase_rows(m_erase_below, domain, path);
}

void SqliteStore::erase_rows(Sqlite::Statement& erase, std::string const& domain, std::string const& path)
{
    check_own(domain);
    erase.bind(1, std::string_view(domain)).bind(2, std::string_view(path));
    while (erase.step())
    {
        m_sum.own.remove(std::bit_cast<std::uint64_t>(erase.integer(0)));
    }
}

namespace
{

/// The record that the reader has stepped to.
StoredRecord whole_record(StoreFormat::RecordReader const& reader)
{
    if (auto record = reader.record())
    {
        return std::move(*record);
    }
    throw StoreError("the record " + std::to_string(reader.id()) + " of the history is damaged");
}

/// The row that the reader has stepped to.
StoreFormat::Row whole_row(StoreFormat::RowReader const& reader, StoreFormat::Table table)
{
    auto const found = reader.row();
    if (!found.is_whole)
    {
        throw StoreError(StoreFormat::name_of(found.row, table) + " is damaged");
    }
    return found.row;
}

} // namespace

std::int64_t SqliteStore::add_record(StoredRecord record, RecordBounds const& bounds)
{
    record.id = static_cast<std::int64_t>(++m_sum.history.last);
    m_sum.history.add(m_record_writer.write(record), StoreFormat::bytes_of(record));
    drop_records(bounds);
    return record.id;
}

/// The oldest go first, and the newest stays.
void SqliteStore::drop_records(RecordBounds const& bounds)
{
    auto& history = m_sum.history;
    while (history.records > 1)
    {
        // Records may be large: no more of this one is read than must be.
        auto const id = m_oldest_record.step() ? m_oldest_record.integer(0) : 0;
        auto const is_kept = id == 0 || (m_oldest_record.text(1) >= bounds.oldest && history.bytes <= bounds.bytes);
        m_oldest_record.run();
        auto const oldest = is_kept ? std::nullopt : record(id);
        if (!oldest)
        {
            return;
        }
        m_erase_record.bind(1, id).run();
        history.remove(StoreFormat::checksum(*oldest), StoreFormat::bytes_of(*oldest));
    }
}

bool SqliteStore::replace_record(StoredRecord const& record)
{
    auto const before = this->record(record.id);
    if (!before)
    {
        return false;
    }
    m_sum.history.remove(StoreFormat::checksum(*before), StoreFormat::bytes_of(*before));
    m_sum.history.add(m_record_writer.write(record), StoreFormat::bytes_of(record));
    return true;
}

std::optional<StoredRecord> SqliteStore::record(std::int64_t id)
{
    StoreFormat::RecordReader reader(m_database.get(), StoreFormat::newest, "WHERE id = ?1");
    reader.bind(1, id);
    return reader.step() ? std::optional(whole_record(reader)) : std::nullopt;
}

std::optional<StoredRecord> SqliteStore::record_of_edit(std::string const& edit)
{
    // The second condition lets SQLite use the index, which has only records with an edit.
    StoreFormat::RecordReader reader(m_database.get(), StoreFormat::newest,
                                     "WHERE edit = ?1 AND edit <> '' ORDER BY id DESC LIMIT 1");
    reader.bind(1, std::string_view(edit));
    return reader.step() ? std::optional(whole_record(reader)) : std::nullopt;
}

std::vector<StoredRecord> SqliteStore::records_before(std::int64_t before, std::size_t most)
{
    std::vector<StoredRecord> records;
    StoreFormat::RecordReader reader(m_database.get(), StoreFormat::newest, "WHERE id < ?1 ORDER BY id DESC LIMIT ?2");
    reader.bind(1, before).bind(2, static_cast<std::int64_t>(most));
    while (reader.step())
    {
        records.push_back(whole_record(reader));
    }
    return records;
}

std::optional<LibraryCopy> SqliteStore::library() const
{
    return m_library == nullptr ? std::nullopt : std::optional(*m_library);
}

void SqliteStore::set_library(std::shared_ptr<LibraryCopy const> copy)
{
    m_library = std::move(copy);
    StoreFormat::write_copy(m_database.get(), library());
    m_sum.copy = m_library == nullptr ? 0 : StoreFormat::checksum(*m_library);
}

/// No record tells how what stood before came to what stands now, and nobody is to conclude it from the earlier ones.
void SqliteStore::remember_gap() noexcept
{
    ++m_sum.history.last;
}

void SqliteStore::apply_shared(std::vector<LibraryRow> const& rows, bool is_whole, LibraryPosition const& position)
{
    if (m_library == nullptr)
    {
        throw StoreError("the store has joined no library");
    }
    auto copy = std::make_shared<LibraryCopy>(*m_library);
    copy->position = position;
    if (is_whole)
    {
        m_shared.clear();
        remember_gap();
    }
    for (auto const& row : rows)
    {
        m_shared.apply(row);
    }
    set_library(std::move(copy));
}

void SqliteStore::join_library(LibraryCopy const& copy)
{
    Sqlite::Statement erase(m_database.get(), "DELETE FROM entry WHERE domain = ?1 RETURNING checksum");
    erase.bind(1, recipe_domain);
    while (erase.step())
    {
        m_sum.own.remove(std::bit_cast<std::uint64_t>(erase.integer(0)));
    }
    m_shared.clear();
    remember_gap();
    set_library(std::make_shared<LibraryCopy const>(copy));
}

void SqliteStore::leave_library()
{
    StoreFormat::RowReader reader(m_database.get(), StoreFormat::newest, StoreFormat::Table::shared);
    while (reader.step())
    {
        auto row = whole_row(reader, StoreFormat::Table::shared);
        row.rank = ++m_last_rank;
        m_sum.own.add(m_writer.insert(row));
    }
    m_shared.clear();
    set_library(nullptr);
}

std::vector<LibraryRow> SqliteStore::recipe_rows()
{
    std::vector<LibraryRow> rows;
    auto const table = m_library == nullptr ? StoreFormat::Table::own : StoreFormat::Table::shared;
    StoreFormat::RowReader reader(m_database.get(), StoreFormat::newest, table);
    while (reader.step())
    {
        auto const row = whole_row(reader, table);
        if (row.domain == recipe_domain)
        {
            rows.push_back({.path = std::string(row.path), .rank = row.rank, .checksum = StoreFormat::checksum(row)});
            row.text ? static_cast<void>(rows.back().text = std::string(*row.text)) : void();
        }
    }
    return rows;
}

void SqliteStore::commit()
{
    m_sum.stamp = StoreFormat::random_stamp();
    StoreFormat::write_sum(m_database.get(), m_sum);
    Sqlite::execute(m_database.get(), "COMMIT");
    m_committed = m_sum;
    m_committed_library = m_library;
    if (m_log_length >= longest_log)
    {
        shorten_log();
    }
}

void SqliteStore::rollback() noexcept
{
    // Where SQLite has ended the transaction itself there is nothing left to roll back.
    sqlite3_exec(m_database.get(), "ROLLBACK", nullptr, nullptr, nullptr);
    m_sum = m_committed;
    m_library = m_committed_library;
}

/// Brings the log into the file. Where that fails, wholly or partly, the log still holds everything.
void SqliteStore::shorten_log() noexcept
{
    sqlite3_wal_checkpoint_v2(m_database.get(), nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
    // What a later transaction must name is what stands in the file, however far this went.
    m_sum.base = m_committed.base = StoreFile::stamp_in_file(m_file).value_or(m_sum.base);
}

void SqliteStore::backup(std::filesystem::path const& target)
{
    StoreFile::check_copy_target(m_file, target);
    StoreFile::Replacement copy(target);
    Sqlite::Statement(m_database.get(), "VACUUM INTO ?1").bind(1, std::string_view(copy.file().string())).run();
    copy.stamp();
    if (auto const report = check_store(copy.file(), std::chrono::seconds(0)); !report.is_whole())
    {
        throw StoreError("the copy did not come out right: " + report.faults.front());
    }
    copy.become_target();
}

void make_store(std::filesystem::path const& file)
{
    StoreFile::Replacement made(file);
    if (std::filesystem::exists(file))
    {
        return; // another process was faster
    }
    auto const log = StoreFile::log_of(file);
    if (std::filesystem::exists(log))
    {
        throw ProjectError(file.string() + " is missing, but its log " + log.filename().string() +
                           " is there; put the store back, or move the log away to start anew");
    }
    made.make_empty();
    made.stamp();
    made.become_target();
}

/// Reads the store and lets it be written. Throws at the first fault.
StoreFormat::Content believed(sqlite3* database, std::filesystem::path const& file, std::int64_t version)
{
    auto content = StoreFormat::read(database, file, version,
                                     [&](std::string const& text) { throw StoreFile::Damaged(file, text); });
    StoreFile::settle(database);
    return content;
}

} // namespace

void Store::backup(std::filesystem::path const& target)
{
    throw StoreError("there is no store to copy to " + target.string());
}

std::unique_ptr<Store> Store::open(std::filesystem::path const& name, std::chrono::seconds wait)
{
    auto const file = std::filesystem::exists(name) ? std::filesystem::canonical(name) : name;
    auto const make = [&] { make_store(file); };
    try
    {
        auto taken = StoreFile::take(file, wait, make);
        if (taken.version != StoreFormat::newest)
        {
            bring_over(taken, file);
            taken.database.reset();
            taken = StoreFile::take(file, wait, make);
        }
        auto content = believed(taken.database.get(), file, taken.version);
        return std::make_unique<SqliteStore>(std::move(taken.database), file, std::move(content));
    }
    catch (Sqlite::Error const& error)
    {
        StoreFile::explain(file, error);
    }
}

} // namespace Ravik
