#include "Configuration/store_reading.h"

#include "Configuration/configuration_keys.h"
#include "Configuration/store_file.h"
#include "Configuration/tree.h"
#include "RavikSrvExt/MapBuilder.h"
#include "Json/Json.h"
#include "Json/Reader.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <sstream>
#include <utility>
#include <vector>

namespace Ravik::StoreFormat
{

using RavikSrv::Value;

namespace
{

/// What stands directly below a path, in the order of its rows.
struct Folder
{
    /// Folders stand here without what they hold.
    RavikSrv::MapBuilder entries;
    /// The name and the path of each folder.
    std::vector<std::pair<std::string, std::string>> folders;
};

using FoldersByPath = std::map<std::string, Folder>;

/// The map of what is below `path`, which is taken from `folders`.
Value build(FoldersByPath& folders, std::string const& path)
{
    auto below = folders.extract(path);
    if (below.empty())
    {
        return Value(RavikSrv::ValueType::Map);
    }
    auto map = below.mapped().entries.finish();
    for (auto const& [name, inner_path] : below.mapped().folders)
    {
        map[name.c_str()] = build(folders, inner_path);
    }
    return map;
}

constexpr auto of_the_copy = " in the copy of its library";

std::string damage(Sqlite::Error const& error)
{
    return std::string("it is damaged: ") + error.what();
}

/// What was read of the rows of a table.
struct RowsRead
{
    Table table;
    std::int64_t last_rank = 0;
    /// Of those that are whole.
    RowSum counted{};
    /// The names of all, also of those that are damaged.
    RowSum names{};
};

/// Of a record's place in the index of edits.
std::uint64_t edit_checksum(std::int64_t record, std::string_view edit)
{
    return name_checksum({.rank = record, .domain = {}, .path = edit, .text = {}});
}

class Reading
{
public:
    Reading(sqlite3* database, std::filesystem::path const& file, std::int64_t version, OnFault const& on_fault,
            OnRow const& on_row, OnRecord const& on_record)
        : m_database(database), m_file(file), m_version(version), m_on_fault(on_fault), m_on_row(on_row),
          m_on_record(on_record)
    {
    }

    Content read()
    {
        guarded([this] { check_tables(); });
        guarded([this] { read_rows(m_own); });
        guarded([this] { read_copy(); });
        guarded([this] { read_records(); });
        guarded([this] { check_pages(); });
        guarded([this] { check_sum(); });
        build_trees();
        m_content.last_rank = m_own.last_rank;
        return std::move(m_content);
    }

private:
    /// What SQLite itself finds damaged is a fault as any other.
    template <typename Step> void guarded(Step const& step)
    {
        try
        {
            step();
        }
        catch (Sqlite::Error const& error)
        {
            m_on_fault(damage(error));
        }
    }

    /// Where the damage has been told already.
    template <typename Step> static void as_far_as_possible(Step const& step)
    {
        try
        {
            step();
        }
        catch (Sqlite::Error const&)
        {
            // The rest can't be had.
        }
    }

    void check_tables();
    void check_pages();
    bool are_indexes_whole() const;
    bool is_index_whole(RowsRead const& rows) const;
    bool is_index_of_edits_whole() const;
    bool knows_libraries() const { return m_version > without_library; }
    void read_copy();
    void read_rows(RowsRead& rows);
    void read_rows_behind(std::int64_t last, RowsRead& rows);
    std::vector<std::int64_t> ranks_in_index(Table table) const;
    void read_row(RowReader const& reader, RowsRead& rows);
    void keep(Row const& row);
    void read_records();
    void count_records();
    void count_edit(std::int64_t record, std::string_view edit);
    void read_record(RecordReader const& reader);
    void check_sum();
    void check_rows(RowSum const& sum, RowSum const& counted, std::string const& where) const;
    void check_copy(Sum const& sum) const;
    void check_records(RecordSum const& sum) const;
    void build_trees();

    sqlite3* m_database;
    std::filesystem::path const& m_file;
    std::int64_t m_version;
    OnFault const& m_on_fault;
    OnRow const& m_on_row;
    OnRecord const& m_on_record;
    Content m_content;
    RowsRead m_own{.table = Table::own};
    RowsRead m_shared{.table = Table::shared};
    RecordSum m_records;
    /// What the index of edits is to hold.
    RowSum m_edits;
    bool m_is_copy_whole = true;
    std::map<std::string, FoldersByPath, std::less<>> m_folders;
    Json::Reader m_json;
};

void Reading::check_tables()
{
    if (m_version != without_checksums && StoreFile::has_foreign_log(m_database, m_file))
    {
        m_on_fault("the log " + StoreFile::log_of(m_file).filename().string() +
                   " belongs to another store, or to another state of this one; move it away to have the store as it "
                   "stood at the last orderly end");
    }
    if (!has_own_tables(m_database, m_version))
    {
        m_on_fault("its tables are not those that ravik made");
    }
}

/// Pages, free pages and the indexes: what the rows do not tell. SQLite looks up each row in the index, which takes
/// longer than all else; it is left to do so, and to tell what is wrong, where the index does not have the rows' names.
void Reading::check_pages()
{
    auto const index_fits = are_indexes_whole();
    auto told = false;
    constexpr int most = 20;
    Sqlite::Statement check(m_database, (index_fits ? "PRAGMA quick_check(" : "PRAGMA integrity_check(") +
                                            std::to_string(most) + ")");
    while (check.step())
    {
        // The first row also has a heading, and may tell several faults.
        std::istringstream lines{std::string(check.text(0))};
        for (std::string line; std::getline(lines, line);)
        {
            if (line != "ok" && !line.starts_with("***"))
            {
                m_on_fault("its pages are damaged: " + line);
                told = true;
            }
        }
    }
    if (!index_fits && !told)
    {
        m_on_fault("its index does not fit its rows");
    }
}

bool Reading::are_indexes_whole() const
{
    try
    {
        return is_index_whole(m_own) && (!knows_libraries() || (is_index_whole(m_shared) && is_index_of_edits_whole()));
    }
    catch (Sqlite::Error const&)
    {
        return false;
    }
}

/// Whether the index holds the names of the rows that were read, in order, each once, and nothing else.
bool Reading::is_index_whole(RowsRead const& rows) const
{
    RowSum names;
    std::string domain;
    std::string path;
    Sqlite::Statement select(m_database, rows.table == Table::own
                                             ? "SELECT rank, domain, path FROM entry INDEXED BY entry_path"
                                             : "SELECT rank, '" + std::string(recipe_domain) +
                                                   "', path FROM shared_entry INDEXED BY shared_entry_path");
    while (select.step())
    {
        if (select.type(0) != SQLITE_INTEGER || select.type(1) != SQLITE_TEXT || select.type(2) != SQLITE_TEXT)
        {
            return false;
        }
        Row const row{
            .rank = select.integer(0), .domain = select.text(1), .path = select.text(2), .text = std::nullopt};
        auto const order = row.domain.compare(domain);
        if (names.rows != 0 && (order < 0 || (order == 0 && row.path <= path)))
        {
            return false;
        }
        names.add(name_checksum(row));
        domain = row.domain;
        path = row.path;
    }
    return names == rows.names;
}

bool Reading::is_index_of_edits_whole() const
{
    RowSum edits;
    std::pair<std::string, std::int64_t> last;
    Sqlite::Statement select(m_database, "SELECT id, edit FROM history INDEXED BY history_edit WHERE edit <> ''");
    while (select.step())
    {
        std::pair found(std::string(select.text(1)), select.integer(0));
        if (found <= last)
        {
            return false;
        }
        edits.add(edit_checksum(found.second, found.first));
        last = std::move(found);
    }
    return edits == m_edits;
}

void Reading::read_copy()
{
    if (!knows_libraries())
    {
        return;
    }
    guarded([this] { read_rows(m_shared); });
    auto const [copy, is_whole] = StoreFormat::read_copy(m_database);
    m_content.library = copy;
    m_is_copy_whole = is_whole;
}

void Reading::read_rows(RowsRead& rows)
{
    RowReader reader(m_database, m_version, rows.table);
    try
    {
        while (reader.step())
        {
            read_row(reader, rows);
        }
    }
    catch (Sqlite::Error const& error)
    {
        m_on_fault(damage(error));
        read_rows_behind(rows.last_rank, rows);
    }
}

/// Behind a page that can't be read: the rows from the end backwards to the next such page, and between the two those
/// that the index knows.
void Reading::read_rows_behind(std::int64_t last, RowsRead& rows)
{
    auto first_behind = std::numeric_limits<std::int64_t>::max();
    as_far_as_possible(
        [&]
        {
            for (RowReader reader(m_database, m_version, rows.table, RowReader::Order::descending);
                 reader.step() && reader.rank() > last; first_behind = reader.rank())
            {
                read_row(reader, rows);
            }
        });
    for (auto const rank : ranks_in_index(rows.table))
    {
        if (rank > last && rank < first_behind)
        {
            as_far_as_possible(
                [&]
                {
                    RowReader reader(m_database, m_version, rows.table, rank);
                    reader.step() ? read_row(reader, rows) : void();
                });
        }
    }
}

std::vector<std::int64_t> Reading::ranks_in_index(Table table) const
{
    std::vector<std::int64_t> ranks;
    as_far_as_possible(
        [&]
        {
            auto const* const from =
                table == Table::own ? "entry INDEXED BY entry_path" : "shared_entry INDEXED BY shared_entry_path";
            for (Sqlite::Statement select(m_database, std::string("SELECT rank FROM ") + from); select.step();)
            {
                ranks.push_back(select.integer(0));
            }
        });
    return ranks;
}

void Reading::read_row(RowReader const& reader, RowsRead& rows)
{
    auto const [row, sum, is_whole] = reader.row();
    rows.last_rank = std::max(rows.last_rank, row.rank);
    rows.names.add(name_checksum(row));
    if (!is_whole)
    {
        m_on_fault(name_of(row, rows.table) + " is damaged: its checksum does not fit");
        return;
    }
    rows.counted.add(sum);
    try
    {
        keep(row);
    }
    catch (Json::ParseError const& error)
    {
        m_on_fault(name_of(row, rows.table) + " holds a broken value: " + error.what());
        return;
    }
    if (m_on_row)
    {
        m_on_row(row, rows.table);
    }
}

void Reading::keep(Row const& row)
{
    auto value = row.text ? m_json.parse(*row.text) : Value(RavikSrv::ValueType::Map);
    auto found = m_folders.find(row.domain);
    if (found == m_folders.end())
    {
        found = m_folders.emplace(std::string(row.domain), FoldersByPath()).first;
    }
    std::string path(row.path);
    auto place = Tree::split_last(path);
    auto& folder = found->second[std::move(place.parent)];
    if (folder.entries.insert(place.name, std::move(value)) && !row.text)
    {
        folder.folders.emplace_back(std::move(place.name), std::move(path));
    }
}

/// Behind a page that can't be read: the records from the end backwards to the next such page.
void Reading::read_records()
{
    if (m_version == without_checksums || m_version == without_history)
    {
        return;
    }
    if (!m_on_record)
    {
        count_records();
        return;
    }
    std::int64_t last = 0;
    auto const forward = [&](std::string const& which)
    {
        RecordReader reader(m_database, m_version, which);
        while (reader.step())
        {
            last = reader.id();
            read_record(reader);
        }
    };
    try
    {
        forward("ORDER BY id");
    }
    catch (Sqlite::Error const& error)
    {
        m_on_fault(damage(error));
        as_far_as_possible([&] { forward("WHERE id > " + std::to_string(last) + " ORDER BY id DESC"); });
    }
}

/// Without what they tell: there may be any number of them, and each is held against its checksum whenever it is read.
void Reading::count_records()
{
    Sqlite::Statement select(m_database, knows_libraries() ? "SELECT checksum, id, edit FROM history"
                                                           : "SELECT checksum, id, '' FROM history");
    while (select.step())
    {
        m_records.add(static_cast<std::uint64_t>(select.integer(0)), 0);
        count_edit(select.integer(1), select.text(2));
    }
}

void Reading::count_edit(std::int64_t record, std::string_view edit)
{
    if (!edit.empty())
    {
        m_edits.add(edit_checksum(record, edit));
    }
}

void Reading::read_record(RecordReader const& reader)
{
    auto record = reader.record();
    count_edit(reader.id(), reader.edit());
    if (!record)
    {
        m_on_fault("the record " + std::to_string(reader.id()) +
                   " of the history is damaged: its checksum does not fit");
        return;
    }
    m_records.add(checksum(*record), bytes_of(*record));
    if (m_on_record)
    {
        m_on_record(std::move(*record));
    }
}

void Reading::check_sum()
{
    if (m_version == without_checksums)
    {
        return;
    }
    auto const sum = read_sum(m_database);
    if (!sum)
    {
        m_on_fault("the sum of its rows is damaged");
        return;
    }
    m_content.sum = *sum;
    check_rows(sum->own, m_own.counted, "");
    check_rows(sum->shared, m_shared.counted, of_the_copy);
    check_copy(*sum);
    check_records(sum->history);
}

void Reading::check_rows(RowSum const& sum, RowSum const& counted, std::string const& where) const
{
    if (sum.rows > counted.rows)
    {
        m_on_fault(std::to_string(sum.rows - counted.rows) + " of " + std::to_string(sum.rows) + " rows" + where +
                   " are lost");
    }
    else if (sum != counted)
    {
        m_on_fault("its rows" + where + " do not add up: there are some of another state among them");
    }
}

void Reading::check_copy(Sum const& sum) const
{
    auto const& library = m_content.library;
    if (!m_is_copy_whole)
    {
        m_on_fault("what it tells of its copy of a library is damaged");
    }
    else if (sum.copy != (library ? checksum(*library) : 0))
    {
        m_on_fault("what it tells of its copy of a library is lost, or of another state");
    }
}

void Reading::check_records(RecordSum const& sum) const
{
    auto const& counted = m_records;
    if (sum.records > counted.records)
    {
        m_on_fault(std::to_string(sum.records - counted.records) + " of " + std::to_string(sum.records) +
                   " records of the history are lost");
    }
    else if (sum.records != counted.records || sum.total != counted.total)
    {
        m_on_fault("the records of its history do not add up: there are some of another state among them");
    }
}

void Reading::build_trees()
{
    for (auto& [domain, folders] : m_folders)
    {
        m_content.trees.emplace(domain, build(folders, ""));
        for (auto& [parent, orphans] : folders)
        {
            Value const map = orphans.entries.finish();
            for (auto orphan = map.begin(); orphan != map.end(); ++orphan)
            {
                auto text = "the row \"" + Tree::join(parent, orphan.name()) + "\" of ";
                text.append(domain).append(" is an orphan: there is no folder \"").append(parent).append("\"");
                m_on_fault(text);
            }
        }
    }
}

} // namespace

std::string name_of(Row const& row, Table table)
{
    return "the row \"" + std::string(row.path) + "\" of " + std::string(row.domain) + " (number " +
           std::to_string(row.rank) + ")" + (table == Table::shared ? of_the_copy : "");
}

Content read(sqlite3* database, std::filesystem::path const& file, std::int64_t version, OnFault const& on_fault,
             OnRow const& on_row, OnRecord const& on_record)
{
    Sqlite::MappedReading const mapped(database);
    return Reading(database, file, version, on_fault, on_row, on_record).read();
}

} // namespace Ravik::StoreFormat
