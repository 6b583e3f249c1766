#include "Configuration/Store.h"

#include "Project/ProjectError.h"
#include "Support/TemporaryFolder.h"
#include "Json/Json.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Ravik
{
namespace
{

using Testing::TemporaryFolder;
using namespace std::chrono_literals;

/// The message with which the store is refused, empty where it opens.
std::string refusal(std::filesystem::path const& file)
{
    try
    {
        Store::open(file, 0s);
        return {};
    }
    catch (ProjectError const& error)
    {
        return error.what();
    }
}

void run_sql(std::filesystem::path const& file, char const* sql)
{
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
    sqlite3_close(database);
}

TEST(Store, keeps_rows_in_the_order_of_their_first_writing)
{
    TemporaryFolder const folder;
    {
        auto const store = Store::open(folder.path() / "s.db", 0s);
        store->begin();
        store->put("D", "recipeList", nullptr);
        for (auto const* const name : {"recipeList::b", "recipeList::a", "recipeList::c"})
        {
            auto const value = RavikSrv::Value(name);
            store->put("D", name, &value);
        }
        auto const other = RavikSrv::Value(1);
        store->put("E", "recipeList", &other);
        store->commit();
        store->begin();
        auto const again = Json::parse(R"({"values":{"x":1.5}})");
        store->put("D", "recipeList::b", &again);
        store->erase("D", "recipeList::a");
        store->put("D", "recipeList::a", &other);
        store->commit();
        store->begin();
        store->erase("D", "recipeList");
        store->rollback();
    }
    auto const store = Store::open(folder.path() / "s.db", 0s);
    EXPECT_EQ(Json::write(store->load("D")), R"({"recipeList":{"b":{"values":{"x":1.5}},"c":"recipeList::c","a":1}})");
    EXPECT_EQ(Json::write(store->load("E")), R"({"recipeList":1})");
    EXPECT_EQ(Json::write(store->load("nobody")), "{}");
}

TEST(Store, erases_what_lies_below_a_path_and_nothing_beside_it)
{
    TemporaryFolder const folder;
    auto const store = Store::open(folder.path() / "s.db", 0s);
    store->begin();
    auto const value = RavikSrv::Value(1);
    for (auto const* const name : {"l::F", "l::F::x", "l::F::y::z", "l::F2", "l::F:", "l::E", "l::Fa::x"})
    {
        store->put("D", name, &value);
    }
    store->erase("D", "l::F");
    store->commit();
    EXPECT_EQ(Json::write(store->load("D")), "{}") << "nothing stands below a missing parent";
    store->begin();
    store->put("D", "l", nullptr);
    store->commit();
    EXPECT_EQ(Json::write(store->load("D")["l"]), R"({"F2":1,"F:":1,"E":1})");
}

TEST(Store, refuses_files_that_are_not_its_own)
{
    TemporaryFolder const folder;
    EXPECT_NE(refusal(folder.write("text.db", std::string(5000, 'x'))).find("no SQLite database"), std::string::npos);
    auto const foreign = folder.path() / "foreign.db";
    run_sql(foreign, "CREATE TABLE t(x)");
    EXPECT_NE(refusal(foreign).find("another program"), std::string::npos);
    auto const later = folder.path() / "later.db";
    EXPECT_EQ(refusal(later), "");
    run_sql(later, "PRAGMA user_version=99");
    EXPECT_NE(refusal(later).find("later version"), std::string::npos);
    EXPECT_NE(refusal(folder.path() / "missing" / "s.db").find("can't open"), std::string::npos);
    EXPECT_EQ(refusal(folder.write("empty.db", "")), "") << "an empty file is a new store";
}

TEST(Store, tells_a_second_process_who_has_it)
{
    TemporaryFolder const folder;
    auto const file = folder.path() / "s.db";
    auto const store = Store::open(file, 0s);
    auto const expected = "pid " + std::to_string(getpid());
    auto const child = fork();
    if (child == 0)
    {
        _exit(refusal(file).find(expected) != std::string::npos ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

} // namespace
} // namespace Ravik
