#include "Project/Project.h"
#include "Support/TemporaryFolder.h"
#include "Support/refusal.h"

#include <gtest/gtest.h>

#include <array>

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
    auto const projects = std::to_array<std::pair<std::string, char const*>>({
        {"{\n  \"extensions\": [,]\n}", "ravik.json:2:"},
        {one_extension("libMissing.so"), "can't load the extension \"libMissing.so\""},
        {one_extension(NO_EXTENSION_LIBRARY), "is no extension: it does not export ext_interface"},
        {one_extension(OLD_PROBE_LIBRARY), "interface version 18"},
        {one_extension(PROBE_LIBRARY, R"(,"configuration":{"fault":"throw"})"),
         "domain \"P\" could not be initialised: UNEXPECTED, init: unexpected failure: thrown from init"},
        {one_extension(PROBE_LIBRARY, R"(,"configuration":{"fault":"refuse"})"), "INIT, refused by init"},
    });
    for (auto const& [file, message] : projects)
    {
        TemporaryFolder const folder;
        auto const open = [&] { Project::open(folder.path()); };
        EXPECT_NE(refusal(open), "") << "a folder without a project";
        folder.write("ravik.json", file);
        EXPECT_NE(refusal(open).find(message), std::string::npos) << refusal(open);
    }
}

} // namespace
} // namespace Ravik::Test
