#include "library_project.h"

#include "EditedProject.h"

#include <fstream>
#include <poll.h>

namespace Ravik::Test
{

void write_project(std::filesystem::path const& folder, LibrarySettings const& settings)
{
    auto text = project_file();
    if (!settings.postgresql.empty())
    {
        text.insert(1, R"("library":{"postgresql":")" + settings.postgresql + R"(","schema":")" + settings.schema +
                           R"("},)");
    }
    std::ofstream(folder / "ravik.json") << text;
}

bool eventually(std::chrono::milliseconds most, std::function<bool()> const& holds)
{
    auto const end = std::chrono::steady_clock::now() + most;
    auto is_late = false;
    while (!holds())
    {
        if (is_late)
        {
            return false;
        }
        is_late = std::chrono::steady_clock::now() > end;
        ::poll(nullptr, 0, 2);
    }
    return true;
}

} // namespace Ravik::Test
