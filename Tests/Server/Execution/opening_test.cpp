#include "Project/Project.h"
#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace Ravik
{
namespace
{

using Testing::TemporaryFolder;

std::string one_extension(std::string const& library, std::string const& more = "")
{
    return R"({"extensions":[{"domain":"P","library":")" + library + "\"" + more + R"(}],"symbols":{}})";
}

TEST(Opening, tells_what_is_wrong_with_a_project)
{
    struct
    {
        char const* what;
        std::string file;
        char const* message;
    } const projects[] = {
        {"broken JSON", "{\n  \"extensions\": [,]\n}", "ravik.json:2:"},
        {"missing library", one_extension("libMissing.so"), "can't load the extension \"libMissing.so\""},
        {"no extension", one_extension(NO_EXTENSION_LIBRARY), "is no extension: it does not export ext_interface"},
        {"other version", one_extension(OLD_PROBE_LIBRARY), "interface version 18"},
        {"throws from init", one_extension(PROBE_LIBRARY, R"(,"configuration":{"fault":"throw"})"),
         "domain \"P\" could not be initialised: UNEXPECTED, thrown from init"},
        {"refuses init", one_extension(PROBE_LIBRARY, R"(,"configuration":{"fault":"refuse"})"),
         "INIT, refused by init"},
    };
    for (auto const& project : projects)
    {
        SCOPED_TRACE(project.what);
        TemporaryFolder const folder;
        folder.write("ravik.json", project.file);
        try
        {
            Project::open(folder.path());
            ADD_FAILURE() << "it opened";
        }
        catch (ProjectError const& error)
        {
            EXPECT_NE(std::string(error.what()).find(project.message), std::string::npos) << error.what();
        }
    }
    TemporaryFolder const folder;
    EXPECT_THROW(Project::open(folder.path()), ProjectError) << "a folder without a project";
}

} // namespace
} // namespace Ravik
