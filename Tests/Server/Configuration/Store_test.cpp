#include "Configuration/Store.h"

#include "Support/TemporaryFolder.h"
#include "Support/refusal.h"
#include "Json/Json.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Ravik::Test
{
namespace
{

using namespace std::chrono_literals;

std::string refused(std::filesystem::path const& file)
{
    return refusal([&] { Store::open(file, 0s); });
}

TEST(Store, refuses_files_that_are_not_its_own)
{
    TemporaryFolder const folder;
    auto const foreign = folder.path() / "foreign.db";
    auto const later = folder.path() / "later.db";
    EXPECT_EQ(refused(later), "");
    for (auto const& [file, sql] : {std::pair(foreign, "CREATE TABLE t(x)"), {later, "PRAGMA user_version=99"}})
    {
        sqlite3* database = nullptr;
        ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(database, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
        sqlite3_close(database);
    }
    EXPECT_NE(refused(folder.write("text.db", std::string(5000, 'x'))).find("no SQLite database"), std::string::npos);
    EXPECT_NE(refused(foreign).find("another program"), std::string::npos);
    EXPECT_NE(refused(later).find("later version"), std::string::npos);
    EXPECT_NE(refused(folder.path() / "missing" / "s.db").find("can't make"), std::string::npos);
    EXPECT_NE(refused(folder.write("empty.db", "")).find("no bytes"), std::string::npos);
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
        _exit(refused(file).find(expected) != std::string::npos ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

} // namespace
} // namespace Ravik::Test
