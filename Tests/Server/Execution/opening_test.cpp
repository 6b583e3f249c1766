#include "Project/Project.h"
#include "Support/TemporaryFolder.h"
#include "Support/refusal.h"

#include <gtest/gtest.h>

#include <vector>

namespace Ravik::Test
{
namespace
{

std::string one_extension(std::string const& library, std::string const& more = "")
{
    return R"({"extensions":[{"domain":"P","library":")" + library + "\"" + more + R"(}],"symbols":{}})";
}

TEST(Opening, tells_what_is_wrong_with_a_project)
{
    struct Case
    {
        char const* about;
        std::string file;
        char const* message;
    };
    std::vector<Case> const cases = {
        {"no JSON", "{\n  \"extensions\": [,]\n}", "ravik.json:2:"},
        {"no library", one_extension("libMissing.so"), "can't load the extension \"libMissing.so\""},
        {"no extension", one_extension(NO_EXTENSION_LIBRARY), "is no extension: it does not export ext_interface"},
        {"another version", one_extension(OLD_PROBE_LIBRARY), "interface version 18"},
        {"init throws", one_extension(PROBE_LIBRARY, R"(,"configuration":{"fault":"throw"})"),
         "domain \"P\" could not be initialised: UNEXPECTED, init: unexpected failure: thrown from init"},
        {"init refuses", one_extension(PROBE_LIBRARY, R"(,"configuration":{"fault":"refuse"})"),
         "INIT, refused by init"},
    };
    for (auto const& [about, file, message] : cases)
    {
        SCOPED_TRACE(about);
        TemporaryFolder const folder;
        auto const open = [&] { Project::open(folder.path()); };
        EXPECT_NE(refusal(open), "") << "a folder without a project";
        folder.write("ravik.json", file);
        EXPECT_NE(refusal(open).find(message), std::string::npos) << refusal(open);
    }
}

} // namespace
} // namespace Ravik::Test
