#include "Configuration/Store.h"
#include "Configuration/place_changes.h"
#include "Configuration/store_care.h"
#include "Configuration/store_format.h"

#include "Support/TemporaryFolder.h"
#include "Support/refusal.h"
#include "Json/Json.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Ravik::Test
{
namespace
{

using namespace std::chrono_literals;
namespace fs = std::filesystem;

constexpr auto domain = "RavikRecipeManagement";

/// What the store holds, with its order.
std::string content(fs::path const& file)
{
    return Json::write(Store::open(file, 0s)->load(domain));
}

std::string refused(fs::path const& file)
{
    return refusal([&] { Store::open(file, 0s); });
}

/// How a process of its own ends whose exit status is 0 where the check holds.
template <typename Check> int status_of(Check const& check)
{
    auto const child = fork();
    if (child == 0)
    {
        _exit(check() ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

void run_sql(fs::path const& file, std::string const& sql)
{
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
    sqlite3_close(database);
}

TEST(Store, refuses_files_that_are_not_its_own)
{
    TemporaryFolder const folder;
    auto const foreign = folder.path() / "foreign.db";
    auto const later = folder.path() / "later.db";
    EXPECT_EQ(refused(later), "");
    run_sql(foreign, "CREATE TABLE t(x)");
    run_sql(later, "PRAGMA user_version=99");
    for (auto const& [file, fragment] :
         {std::pair(folder.write("text.db", std::string(5000, 'x')), "no SQLite database"),
          {foreign, "another program"},
          {later, "later version"},
          {folder.path() / "missing" / "s.db", "can't make"},
          {folder.write("empty.db", ""), "no bytes"}})
    {
        EXPECT_NE(refused(file).find(fragment), std::string::npos) << fragment;
    }
}

TEST(Store, tells_a_second_process_who_has_it)
{
    TemporaryFolder const folder;
    auto const file = folder.path() / "s.db";
    auto const store = Store::open(file, 0s);
    auto const expected = "pid " + std::to_string(getpid());
    EXPECT_EQ(status_of([&] { return refused(file).find(expected) != std::string::npos; }), 0);
}

/// A record of an edit that wrote the value, or removed it, at the path.
StoredRecord record(std::string const& path, std::optional<std::string> const& before,
                    std::optional<std::string> const& after, bool inside = false)
{
    auto const value = [](std::optional<std::string> const& text)
    { return text ? std::optional(Json::parse(*text)) : std::nullopt; };
    StoredRecord record{.time = "2026-11-21T08:30:00.000Z", .who = "anna", .asked = path};
    record.places = places_text(
        {{.domain = domain, .path = path, .inside = inside, .before = value(before), .after = value(after)}});
    return record;
}

RecordBounds const boundless{.oldest = "", .bytes = 1'000'000};

void add_records(fs::path const& file, std::vector<StoredRecord> const& records)
{
    auto const store = Store::open(file, 0s);
    store->begin();
    for (auto const& each : records)
    {
        store->add_record(each, boundless);
    }
    store->commit();
}

/// The store that the program made before rows had checksums, with the recipes of the example.
class StoreCareTest : public testing::Test
{
protected:
    StoreCareTest() { fs::copy_file(FORMAT_1_STORE, file); }

    TemporaryFolder const folder;
    fs::path const file = folder.path() / "ravik.db";
    std::string const expected = Json::write(Json::parse(content_of(PLANT_RECIPES)));
};

TEST_F(StoreCareTest, brings_over_stores_without_a_history_and_without_a_copy_of_a_library)
{
    for (auto const& [earlier, records] : {std::pair(FORMAT_2_STORE, 0U), {FORMAT_3_STORE, 2U}})
    {
        fs::copy_file(earlier, file, fs::copy_options::overwrite_existing);
        EXPECT_TRUE(check_store(file, 0s).is_whole());
        EXPECT_EQ(content(file), expected);
        add_records(file, {record("recipeList::A", {}, "{}")});
        EXPECT_EQ(check_store(file, 0s).records, records + 1);
        EXPECT_EQ(Store::open(file, 0s)->library(), std::nullopt);
    }
}

TEST_F(StoreCareTest, brings_over_a_store_of_the_first_layout_however_often_it_is_killed)
{
    auto killed = 0;
    for (rlim_t limit = 0; limit < 60000; limit += 3000)
    {
        auto const status = status_of(
            [&]
            {
                // The file that outgrows this kills the process.
                rlimit const size{.rlim_cur = limit, .rlim_max = limit};
                rlimit const no_core{};
                setrlimit(RLIMIT_CORE, &no_core);
                setrlimit(RLIMIT_FSIZE, &size);
                return refused(file).empty();
            });
        killed += WIFSIGNALED(status) ? 1 : 0;
    }
    EXPECT_GT(killed, 3);
    EXPECT_EQ(content(file), expected);
    EXPECT_EQ(check_store(file, 0s).faults, std::vector<std::string>());
    struct stat status = {};
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()), 1);
}

TEST_F(StoreCareTest, names_what_is_wrong_and_repairs_the_rest)
{
    struct Case
    {
        char const* damage;
        char const* fault;
        bool brought_over;
        std::size_t rows_kept;
    };
    auto const rows = check_store(file, 0s).rows;
    for (auto const& each : {
             Case{"DELETE FROM entry WHERE path='recipeList::Capping'", "an orphan: there is no folder", false, rows},
             Case{"UPDATE entry SET value='{' WHERE path='recipeList::Capping::Crown'",
                  "\"recipeList::Capping::Crown\" of RavikRecipeManagement (number 68) holds a broken value", false,
                  rows - 1},
             Case{"DELETE FROM entry WHERE path='recipeList::Capping::Crown'", "1 of 47 rows are lost", true, rows - 1},
             Case{"UPDATE entry SET value='{}' WHERE path='recipeList::Capping::Crown'",
                  "\"recipeList::Capping::Crown\" of RavikRecipeManagement (number 68) is damaged", true, rows - 1},
             Case{"CREATE TABLE more(x)", "not those that ravik made", true, rows},
             Case{"PRAGMA writable_schema=ON; DELETE FROM sqlite_schema WHERE name='entry_path'", "tables", true, rows},
         })
    {
        SCOPED_TRACE(each.damage);
        auto const copy = folder.path() / "copy.db";
        fs::copy_file(file, copy, fs::copy_options::overwrite_existing);
        EXPECT_TRUE(!each.brought_over || refused(copy).empty());
        run_sql(copy, each.damage);
        auto const message = refused(copy);
        EXPECT_NE(message.find(each.fault), std::string::npos) << message;
        EXPECT_NE(message.find("ravik store restore FILE"), std::string::npos) << message;
        EXPECT_FALSE(check_store(copy, 0s).is_whole());
        auto const repaired = repair_store(copy, 0s);
        EXPECT_EQ(repaired.rows, each.rows_kept);
        EXPECT_FALSE(check_store(repaired.kept_as, 0s).is_whole()) << "what was there is kept";
        EXPECT_EQ(refused(copy), "");
        EXPECT_TRUE(repair_store(copy, 0s).is_whole());
    }
}

TEST_F(StoreCareTest, holds_records_of_the_history_to_their_checksums_and_repairs_from_them)
{
    auto const is = [](auto const& value) { return Json::write(Json::parse(value)); };
    auto const crown = is(R"({"recipeTypeName":"Capping::Crown","values":{"CapType":"Crown26"}})");
    // What is written whole is known, and what changed in it since.
    add_records(file, {record("recipeList::Capping::Crown", {}, crown),
                       record("recipeList::Capping::Crown::values::CapType", "\"Crown26\"", "\"Crown28\"", true),
                       record("recipeList::Capping::SportCap::values::CapType", "1", "2", true)});
    struct Case
    {
        char const* damage;
        char const* fault;
        std::size_t rows_lost = 0;
        std::size_t records_lost = 0;
        std::vector<std::string> recovered = {};
    };
    auto const rows = check_store(file, 0s).rows;
    for (auto const& each : {
             Case{"UPDATE history SET who='eve' WHERE id=2", "the record 2 of the history is damaged", 0, 1},
             Case{"DELETE FROM history WHERE id=3", "1 of 3 records of the history are lost", 0, 1},
             Case{"DELETE FROM entry WHERE path='recipeList::Capping::Crown'",
                  "1 of 47 rows are lost",
                  0,
                  0,
                  {"recipeList::Capping::Crown"}},
             Case{"DELETE FROM entry WHERE path='recipeList::Capping::SportCap'", "1 of 47 rows are lost", 1},
             Case{"DELETE FROM entry WHERE path='recipeList::Capping::Crown'; DELETE FROM history WHERE id=2",
                  "1 of 47 rows are lost", 1, 1},
         })
    {
        SCOPED_TRACE(each.damage);
        auto const copy = folder.path() / "copy.db";
        fs::copy_file(file, copy, fs::copy_options::overwrite_existing);
        run_sql(copy, each.damage);
        auto const faults = check_store(copy, 0s).faults;
        EXPECT_TRUE(std::any_of(faults.begin(), faults.end(),
                                [&](std::string const& fault) { return fault.find(each.fault) != std::string::npos; }));
        // What a record tells is held against its checksum when it is read, not by everybody who opens the store.
        EXPECT_EQ(refused(copy).empty(), std::string(each.damage).starts_with("UPDATE history"));
        auto const repaired = repair_store(copy, 0s);
        EXPECT_EQ(repaired.recovered, each.recovered);
        EXPECT_EQ(repaired.rows, rows - each.rows_lost);
        EXPECT_EQ(check_store(copy, 0s).records, 3 - each.records_lost);
        EXPECT_EQ(content(copy).find("Crown28") == std::string::npos, each.recovered.empty());
    }
}

TEST(Store, keeps_records_within_bounds_and_gives_no_number_twice)
{
    TemporaryFolder const folder;
    auto const file = folder.path() / "s.db";
    auto const ids = [](Store& store)
    {
        std::vector<std::int64_t> found;
        for (auto const& each : store.records_before(100, 10))
        {
            found.push_back(each.id);
        }
        return found;
    };
    auto const add = [](Store& store, char const* time, RecordBounds const& bounds)
    {
        StoredRecord added{.time = time, .body = std::string(1000, 'x')};
        store.begin();
        added.id = store.add_record(added, bounds);
        store.commit();
        EXPECT_EQ(store.record(added.id), added);
    };
    {
        auto const store = Store::open(file, 0s);
        for (auto const* const time : {"1", "2", "3", "4"})
        {
            add(*store, time, boundless);
        }
        add(*store, "5", {.oldest = "3", .bytes = 1'000'000});
        EXPECT_EQ(ids(*store), (std::vector<std::int64_t>{5, 4, 3}));
        add(*store, "6", {.oldest = "", .bytes = 3000});
        EXPECT_EQ(ids(*store), (std::vector<std::int64_t>{6, 5}));
        store->begin();
        EXPECT_TRUE(store->replace_record({.id = 6, .time = "7"}));
        EXPECT_FALSE(store->replace_record({.id = 1, .time = "7"}));
        store->add_record({.time = "8"}, boundless);
        store->rollback();
        add(*store, "9", {.oldest = "9", .bytes = 0});
    }
    auto const store = Store::open(file, 0s);
    EXPECT_EQ(ids(*store), (std::vector<std::int64_t>{7}));
    add(*store, "9", boundless);
    EXPECT_EQ(ids(*store), (std::vector<std::int64_t>{8, 7}));
}

/// A row as a library gives it; a folder without a text.
LibraryRow shared(std::int64_t rank, std::string const& path, std::optional<std::string> const& text = {})
{
    StoreFormat::Row row{.rank = rank, .domain = domain, .path = path, .text = {}};
    text ? static_cast<void>(row.text = *text) : void();
    return {.path = path, .rank = rank, .text = text, .checksum = StoreFormat::checksum(row)};
}

LibraryRow removed(LibraryRow row)
{
    row.text.reset();
    row.is_removed = true;
    return row;
}

LibraryCopy const empty_copy{.library = "aaaa", .server = {.name = "Line 1", .store = "bbbb"}, .position = {}};

/// What changes in a transaction of its own.
template <typename Change> void commit(Store& store, Change const& change)
{
    store.begin();
    change();
    store.commit();
}

TEST_F(StoreCareTest, finds_records_by_their_edits)
{
    auto const of_edit = [](char const* edit)
    { return StoredRecord{.time = "2026", .server = "Line 2", .edit = edit}; };
    add_records(file, {of_edit("e1"), of_edit("the second"), of_edit("e1"), {.time = "2026"}});
    {
        auto const store = Store::open(file, 0s);
        auto found = store->record_of_edit("e1");
        ASSERT_TRUE(found);
        EXPECT_EQ(found->id, 3);
        EXPECT_EQ(found->server, "Line 2");
        EXPECT_EQ(store->record_of_edit("e3"), std::nullopt);
        EXPECT_EQ(store->record_of_edit(""), std::nullopt) << "that is no edit";
    }
    // Who looks an edit up believes the index: it is held against the records.
    auto const bytes = content_of(file);
    auto places = 0;
    for (auto at = bytes.find("the second"); at != std::string::npos; at = bytes.find("the second", at + 1), ++places)
    {
        auto spoilt = bytes;
        spoilt[at] = 'T';
        EXPECT_NE(refused(folder.write("copy.db", spoilt)).find("history_edit"), std::string::npos) << at;
    }
    EXPECT_EQ(places, 2);
}

template <typename Work> bool fails(Work const& work)
{
    try
    {
        work();
        return false;
    }
    catch (StoreError const&)
    {
        return true;
    }
}

/// A store that has joined a library.
class CopyTest : public StoreCareTest
{
protected:
    CopyTest()
    {
        auto const store = Store::open(file, 0s);
        auto const value = Json::parse("[1]");
        commit(*store,
               [&]
               {
                   store->put("RavikSrv", "SYMBOLS", &value);
                   store->join_library(empty_copy);
                   store->apply_shared(rows, true, {.revision = 4, .edit = "cccc"});
               });
    }

    /// Their ranks are those of rows of the store's own, too, and their order is not that of their paths.
    std::vector<LibraryRow> const rows{shared(1, "recipeTypeList"), shared(2, "recipeTypeList::T", R"({"members":{}})"),
                                       shared(5, "recipeList"),     shared(7, "recipeList::Z", R"({"a":1.0})"),
                                       shared(8, "recipeList::F"),  shared(9, "recipeList::F::B", "{}")};
    std::string const tree = R"({"recipeTypeList":{"T":{"members":{}}},"recipeList":{"Z":{"a":1.0},"F":{"B":{}}}})";
    std::int64_t const own_rows = 1;
};

TEST_F(CopyTest, goes_forward_row_by_row_and_is_there_after_reopening)
{
    struct Case
    {
        std::string name;
        std::vector<LibraryRow> news;
        std::string expected;
        bool is_whole = false;
    };
    EXPECT_EQ(content(file), tree);
    std::int64_t revision = 4;
    for (auto const& each : {
             Case{"nothing", {}, tree},
             Case{"one is written in its place, and one behind all others",
                  {shared(7, "recipeList::Z", "{}"), shared(11, "recipeList::A", "{}")},
                  R"({"recipeTypeList":{"T":{"members":{}}},"recipeList":{"Z":{},"F":{"B":{}},"A":{}}})"},
             Case{"rows are removed, one of them that never was here",
                  {removed(rows[5]), removed(rows[4]), removed(shared(12, "recipeList::Q"))},
                  R"({"recipeTypeList":{"T":{"members":{}}},"recipeList":{"Z":{},"A":{}}})"},
             Case{"a path has another rank",
                  {shared(13, "recipeList::Z", "{}")},
                  R"({"recipeTypeList":{"T":{"members":{}}},"recipeList":{"A":{},"Z":{}}})"},
             Case{"a rank has another path, which no library gives",
                  {shared(13, "recipeList::Y", "{}")},
                  R"({"recipeTypeList":{"T":{"members":{}}},"recipeList":{"A":{},"Y":{}}})"},
             Case{"everything is read anew", rows, tree, true},
         })
    {
        SCOPED_TRACE(each.name);
        LibraryPosition const position{.revision = ++revision, .edit = "edit " + each.name};
        {
            auto const store = Store::open(file, 0s);
            store->begin();
            store->apply_shared({shared(1, "x"), shared(2, "y")}, true, position);
            store->rollback();
            commit(*store, [&] { store->apply_shared(each.news, each.is_whole, position); });
        }
        auto const store = Store::open(file, 0s);
        EXPECT_EQ(Json::write(store->load(domain)), each.expected);
        EXPECT_EQ(Json::write(store->load("RavikSrv")), R"({"SYMBOLS":[1]})");
        ASSERT_TRUE(store->library());
        EXPECT_EQ(store->library()->position, position);
        EXPECT_EQ(store->library()->server, empty_copy.server);
        std::uint64_t sum = 0;
        for (auto const& row : store->recipe_rows())
        {
            sum += row.checksum;
            EXPECT_EQ(row, shared(row.rank, row.path, row.text));
        }
        EXPECT_EQ(store->shared_sum(), sum);
    }
    EXPECT_EQ(Store::open(file, 0s)->recipe_rows(), rows);
}

TEST_F(CopyTest, is_looked_up_by_path)
{
    auto const store = Store::open(file, 0s);
    auto const without_text = [](LibraryRow row)
    {
        row.text.reset();
        return row;
    };
    EXPECT_EQ(store->shared_row("recipeList::Z"), without_text(rows[3]));
    EXPECT_EQ(store->shared_row("recipeList::Q"), std::nullopt);
    EXPECT_EQ(store->shared_rows_below("recipeList"),
              (std::vector<LibraryRow>{rows[4], without_text(rows[5]), without_text(rows[3])}));
    EXPECT_TRUE(store->shared_rows_below("recipeList::Z").empty());
    auto const value = Json::parse("1");
    store->begin();
    EXPECT_TRUE(fails([&] { store->put(domain, "recipeList::Z", &value); }));
    EXPECT_TRUE(fails([&] { store->erase(domain, "recipeList"); }));
    store->rollback();
}

TEST_F(CopyTest, becomes_the_stores_own_where_the_library_is_left)
{
    {
        auto const store = Store::open(file, 0s);
        store->begin();
        store->leave_library();
        store->rollback();
        EXPECT_TRUE(store->library());
        commit(*store, [&] { store->leave_library(); });
        EXPECT_EQ(store->library(), std::nullopt);
        EXPECT_TRUE(fails([&] { store->apply_shared({}, false, {}); }));
    }
    EXPECT_EQ(content(file), tree);
    auto const store = Store::open(file, 0s);
    EXPECT_EQ(store->shared_sum(), 0U);
    auto const value = Json::parse("2");
    commit(*store, [&] { store->put(domain, "recipeList::Z", &value); });
    EXPECT_EQ(store->recipe_rows()[3].text, "2");
    commit(*store, [&] { store->join_library(empty_copy); });
    EXPECT_TRUE(store->recipe_rows().empty());
    EXPECT_EQ(store->library(), empty_copy);
}

TEST_F(CopyTest, is_in_a_backup)
{
    auto const backup = folder.path() / "backup.db";
    Store::open(file, 0s)->backup(backup);
    {
        auto const store = Store::open(file, 0s);
        commit(*store, [&] { store->apply_shared({}, false, {.revision = 5, .edit = "dddd"}); });
    }
    EXPECT_NE(refusal([&] { restore_store(file, backup, Replaced::nothing_whole, 0s); }).find("--force"),
              std::string::npos);
    restore_store(file, backup, Replaced::anything, 0s);
    EXPECT_EQ(content(file), tree);
    EXPECT_EQ(Store::open(file, 0s)->library()->position.revision, 4);
}

TEST_F(CopyTest, is_repaired_as_far_as_it_is_whole_and_read_anew_then)
{
    add_records(file, {record("recipeList::Lost", {}, R"({"recipeTypeName":"T"})")});
    struct Case
    {
        char const* damage;
        char const* fault;
        std::size_t rows_lost = 0;
        std::optional<std::int64_t> revision = 0;
        char const* told = "read anew";
    };
    auto const all = check_store(file, 0s).rows;
    for (auto const& each : {
             Case{"UPDATE shared_entry SET value='{}' WHERE rank=7",
                  "\"recipeList::Z\" of RavikRecipeManagement (number 7) in the copy of its library is damaged", 1},
             Case{"DELETE FROM shared_entry WHERE rank=7", "1 of 6 rows in the copy of its library are lost", 1},
             // Its folder is made for what is left in it.
             Case{"DELETE FROM shared_entry WHERE rank=8", "an orphan: there is no folder", 0},
             Case{"UPDATE library SET revision=5", "of its copy of a library is damaged", 0, {}, "the store's own"},
             Case{"DELETE FROM library", "of its copy of a library is lost", 0, {}, "the store's own"},
             Case{"PRAGMA user_version=0", "its header is damaged", 0, 4, ""},
             Case{"UPDATE entry SET value='[]' WHERE domain='RavikSrv'", "\"SYMBOLS\"", 1, 4, ""},
         })
    {
        SCOPED_TRACE(each.damage);
        auto const copy = folder.path() / "copy.db";
        fs::copy_file(file, copy, fs::copy_options::overwrite_existing);
        run_sql(copy, each.damage);
        auto const faults = check_store(copy, 0s).faults;
        EXPECT_TRUE(std::any_of(faults.begin(), faults.end(),
                                [&](std::string const& fault) { return fault.find(each.fault) != std::string::npos; }))
            << faults.front();
        EXPECT_NE(refused(copy), "");
        auto const report = repair_store(copy, 0s);
        EXPECT_NE(report.copy.find(each.told), std::string::npos) << report.copy;
        EXPECT_EQ(report.copy.empty(), each.revision == 4);
        EXPECT_EQ(report.recovered.empty(), each.revision.has_value()) << "what a library has is had from there";
        EXPECT_EQ(report.rows, all - each.rows_lost + report.recovered.size());
        auto const library = Store::open(copy, 0s)->library();
        EXPECT_EQ(library ? std::optional(library->position.revision) : std::nullopt, each.revision);
    }
}

TEST_F(StoreCareTest, restores_a_backup_where_nothing_is_lost_by_it)
{
    auto const backup = folder.path() / "backup.db";
    auto const kept = Replaced::nothing_whole;
    Store::open(file, 0s)->backup(backup);
    {
        auto const store = Store::open(file, 0s);
        store->begin();
        store->erase(domain, "recipeList");
        store->commit();
    }
    auto const before = content(file);
    EXPECT_NE(refusal([&] { restore_store(file, backup, kept, 0s); }).find("--force"), std::string::npos);
    EXPECT_NE(refusal([&] { restore_store(file, folder.write("x", "x"), kept, 0s); }), "");
    EXPECT_NE(refusal([&] { restore_store(file, file, kept, 0s); }), "");
    EXPECT_EQ(content(file), before);
    EXPECT_EQ(restore_store(file, backup, Replaced::anything, 0s).kept_as, "");
    EXPECT_EQ(content(file), expected);
    EXPECT_EQ(restore_store(file, backup, kept, 0s).kept_as, "") << "it holds the same";
    add_records(file, {record("recipeList", "1", "2")});
    EXPECT_NE(refusal([&] { restore_store(file, backup, kept, 0s); }).find("--force"), std::string::npos);
    folder.write("ravik.db", "no database at all, that is to say nothing of which anything could be kept");
    EXPECT_NE(restore_store(file, backup, kept, 0s).kept_as, "");
    EXPECT_EQ(content(file), expected);
}

TEST_F(StoreCareTest, tells_who_may_not_read_or_write)
{
    struct Case
    {
        mode_t folder;
        mode_t file;
        char const* message;
    };
    EXPECT_EQ(content(file), expected);
    for (auto const& each :
         {Case{0777, 0600, "you may not read the store"}, Case{0777, 0644, "you may not write the store"},
          Case{0755, 0666, "you may not write into the store's folder"}})
    {
        SCOPED_TRACE(each.message);
        ASSERT_EQ(chmod(folder.path().c_str(), each.folder), 0);
        ASSERT_EQ(chmod(file.c_str(), each.file), 0);
        auto const is_told = [&]
        {
            constexpr uid_t nobody = 65534;
            auto const is_other = geteuid() == 0 && setuid(nobody) == 0; // only root can become somebody else
            return !is_other || refused(file).find(each.message) != std::string::npos;
        };
        EXPECT_EQ(status_of(is_told), 0);
    }
}

} // namespace
} // namespace Ravik::Test
