#include "Project/Project.h"
#include "Support/TemporaryFolder.h"
#include "Support/refusal.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace Ravik::Test
{
namespace
{

/// A project of one extension, whose library stands in 1:30 and what `more` adds in line 2, and of one symbol, whose
/// schema stands in 3:29.
std::string project(std::string const& library, std::string const& more = "", std::string const& schema = "true")
{
    return R"({"extensions":[{"domain":"P","library":")" + library + "\"\n" + more + R"(}],
"symbols": {"S": {"DOMAIN": "P", "SCHEMA": )" +
           schema + "}}}";
}

std::string settings(std::string const& configuration)
{
    return project("libRavikSimulation.so", R"(,"configuration":)" + configuration);
}

TEST(Opening, tells_what_is_wrong_with_a_project_and_where)
{
    struct Case
    {
        std::string file;
        char const* place;
        char const* fragment;
    };
    std::vector<Case> const cases = {
        {"{\n  \"extensions\": [,]\n}", "2:18", "expected"},
        {project("libMissing.so"), "1:30", "can't load the extension \"libMissing.so\""},
        {project("./missing.so"), "1:30", "/missing.so: the library can't be read: No such file"},
        {project("./text.so"), "1:30", "/text.so: file too short"},
        {project("./pipe"), "1:30", "/pipe: the library can't be read: it is no regular file"},
        {project("/dev/zero"), "1:30", "/dev/zero: the library can't be read: it is no regular file"},
        {project(NO_EXTENSION_LIBRARY), "1:30", "is no extension: it does not export ext_interface"},
        {project(OLD_PROBE_LIBRARY), "1:30", "interface version 18"},
        {project(PROBE_LIBRARY, R"(,"configuration":{"fault":"throw"})"), "1:30",
         "domain \"P\" could not be initialised: UNEXPECTED, init: unexpected failure: thrown from init"},
        {project(PROBE_LIBRARY, R"(,"configuration":{"fault":"refuse"})"), "1:30", "INIT, refused by init"},
        {settings(R"({"variables":{"A":1},"writeProtected":["A","B"]})"), "2:61", R"("writeProtected[1]": expected)"},
        {project("libRavikModbus.so"), "1:16", R"("host": expected)"},
        {project(PROBE_LIBRARY, "", R"({"pattern":"("})"), "3:34", R"(symbol "S" can't be used: the schema is broken)"},
    };
    for (auto const& [file, place, fragment] : cases)
    {
        SCOPED_TRACE(file);
        TemporaryFolder const folder;
        OpenOptions options;
        options.trust = true; // whoever built the libraries
        auto const open = [&] { Project::open(folder.path(), options); };
        EXPECT_NE(refusal(open).find("ravik.json: the project file can't be read: No such file"), std::string::npos);
        ASSERT_EQ(mkfifo((folder.path() / "pipe").c_str(), 0600), 0);
        folder.write("text.so", "text");
        auto const message = folder.write("ravik.json", file).string() + ":" + place + ": ";
        auto const told = refusal(open);
        EXPECT_EQ(told.substr(0, message.size()), message);
        EXPECT_NE(told.find(fragment), std::string::npos) << told;
        EXPECT_EQ(told.find('\n'), std::string::npos) << told;
    }
}

/// A user of whom nothing belongs to anybody else.
constexpr uid_t stranger = 65533;
constexpr uid_t neighbour = stranger - 1;
constexpr uid_t unchanged = static_cast<uid_t>(-1);

/// Runs the rest of the scope as another user, where root runs the tests.
class As
{
public:
    explicit As(uid_t user) { EXPECT_EQ(seteuid(user), 0); }
    As(As const&) = delete;
    As& operator=(As const&) = delete;
    ~As() { EXPECT_EQ(seteuid(getuid()), 0); }
};

TEST(Opening, runs_nothing_that_somebody_else_could_change)
{
    struct Case
    {
        char const* name;
        /// What is changed of the project, and how.
        char const* path;
        mode_t mode;
        uid_t owner = unchanged;
        gid_t group = unchanged;
        /// What the refusal says; a project that is not refused fails for its library, which is none.
        char const* fragment = "can't load the extension";
        uid_t caller = unchanged;
    };
    auto const* const everybody = "can be written by everybody";
    auto const* const another = "belongs to another user";
    std::vector<Case> const cases = {
        {.name = "an ordinary project", .path = "lib/line.so", .mode = 0644},
        {.name = "folder", .path = ".", .mode = 0777, .fragment = everybody},
        {.name = "project file", .path = "ravik.json", .mode = 0666, .fragment = everybody},
        {.name = "library", .path = "lib/line.so", .mode = 0646, .fragment = everybody},
        {.name = "library's folder", .path = "lib", .mode = 01777, .fragment = everybody},
        {.name = "folder of a link's target", .path = "target", .mode = 0777, .fragment = everybody},
        {.name = "a link's target", .path = "target/line.so", .mode = 0666, .fragment = everybody},
        {.name = "another's project file", .path = "ravik.json", .mode = 0644, .owner = stranger, .fragment = another},
        {.name = "another's library", .path = "lib/line.so", .mode = 0644, .owner = stranger, .fragment = another},
        {.name = "another's library folder", .path = "lib", .mode = 0755, .owner = stranger, .fragment = another},
        {.name = "a group", .path = "lib", .mode = 0775, .group = stranger, .fragment = "other users of its group"},
        {.name = "root's own group", .path = "lib", .mode = 0775, .group = 0},
        {.name = "root in another's folder", .path = ".", .mode = 0755, .owner = stranger},
        {.name = "strangers", .path = ".", .mode = 0755, .owner = stranger, .fragment = another, .caller = neighbour},
        {.name = "root's library", .path = ".", .mode = 0755, .owner = stranger, .caller = stranger},
    };
    for (auto const& row : cases)
    {
        if (getuid() != 0 && (row.owner != unchanged || row.group != unchanged))
        {
            continue; // only root can give files away
        }
        SCOPED_TRACE(row.name);
        TemporaryFolder const folder;
        for (auto const* const sub : {"lib", "target"})
        {
            std::filesystem::create_directory(folder.path() / sub);
            ASSERT_EQ(chmod((folder.path() / sub).c_str(), 0755), 0);
        }
        for (auto const& file :
             {folder.write("ravik.json", project("lib/line.so")), folder.write("target/line.so", "")})
        {
            ASSERT_EQ(chmod(file.c_str(), 0644), 0);
        }
        std::filesystem::create_symlink("../target/line.so", folder.path() / "lib/line.so");
        auto const changed = folder.path() / row.path;
        ASSERT_EQ(chown(changed.c_str(), row.owner, row.group), 0);
        ASSERT_EQ(chmod(changed.c_str(), row.mode), 0);
        As const caller(row.caller == unchanged ? getuid() : row.caller);
        OpenOptions options;
        auto const told = refusal([&] { Project::open(folder.path(), options); });
        EXPECT_NE(told.find(row.fragment), std::string::npos) << told;
        auto const refused = told.find("--trust") != std::string::npos;
        EXPECT_NE(refused, std::filesystem::exists(folder.path() / "ravik.db"));
        EXPECT_NE(refused, told.find("can't load") != std::string::npos);
        if (refused && row.caller == unchanged)
        {
            options.trust = true;
            auto const trusted = refusal([&] { Project::open(folder.path(), options); });
            EXPECT_NE(trusted.find("can't load the extension"), std::string::npos) << trusted;
        }
    }
}

} // namespace
} // namespace Ravik::Test
