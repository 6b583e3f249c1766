#include "Project/Project.h"
#include "Support/TemporaryFolder.h"
#include "Support/refusal.h"

#include <gtest/gtest.h>

#include <string>
#include <sys/stat.h>
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
        {project("./"), "1:30", "it is no regular file"},
        {project(NO_EXTENSION_LIBRARY), "1:30", "is no extension: it does not export ext_interface"},
        {project(OLD_PROBE_LIBRARY), "1:30", "interface version 18"},
        {project(PROBE_LIBRARY, R"(,"configuration":{"fault":"throw"})"), "1:30",
         "domain \"P\" could not be initialised: UNEXPECTED, init: unexpected failure: thrown from init"},
        {project(PROBE_LIBRARY, R"(,"configuration":{"fault":"refuse"})"), "1:30", "INIT, refused by init"},
        {settings(R"({"unreachable":1})"), "2:19", R"("unreachable": expected true or false)"},
        {settings(R"({"variables":{"A":1},"writeProtected":["A","B"]})"), "2:61", R"("writeProtected[1]": expected)"},
        {project("libRavikModbus.so"), "1:16", R"("host": expected)"},
        {project(PROBE_LIBRARY, "", R"({"pattern":"("})"), "3:34", R"(symbol "S" can't be used: the schema is broken)"},
        {project(PROBE_LIBRARY, "", R"({"$ref":"#"})"), "3:34", "refers to itself"},
        {project(PROBE_LIBRARY, "", R"({"items":{"type":"float"}})"), "3:34", R"(#/items/type: "float" is no type)"},
        {project(PROBE_LIBRARY, "", R"({"$ref":"ravik:general#/definitions/FLOAT"})"), "3:34", "not known"},
    };
    for (auto const& [file, place, fragment] : cases)
    {
        SCOPED_TRACE(file);
        TemporaryFolder const folder;
        auto const open = [&] { Project::open(folder.path()); };
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

} // namespace
} // namespace Ravik::Test
