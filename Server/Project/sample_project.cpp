#include "Project/Project.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Ravik
{

namespace
{

namespace fs = std::filesystem;

struct SampleFile
{
    char const* name;
    std::string_view content;
};

/// The rights of a new file, before the user's mask.
constexpr mode_t everybody = 0666;

constexpr std::array<SampleFile, 3> sample_files{{
    {"ravik.json", R"({
  "extensions": [
    { "domain": "RavikRecipeManagement", "library": "libRavikRecipeManagement.so" },
    {
      "domain": "Mixer",
      "library": "libRavikSimulation.so",
      "configuration": {
        "variables": { "Speed": 0.0, "Temperature": 20.0, "Duration": 0, "Product": "", "Ready": true },
        "writeProtected": ["Ready"]
      }
    }
  ],
  "symbols": {
    "Mixer.Speed": {
      "DOMAIN": "Mixer", "MAPPING": "Speed", "USEMAPPING": true,
      "SCHEMA": { "type": "number", "minimum": 0, "maximum": 300 }
    },
    "Mixer.Temperature": {
      "DOMAIN": "Mixer", "MAPPING": "Temperature", "USEMAPPING": true,
      "SCHEMA": { "$ref": "ravik:general#/definitions/REAL" }
    },
    "Mixer.Duration": {
      "DOMAIN": "Mixer", "MAPPING": "Duration", "USEMAPPING": true,
      "SCHEMA": { "$ref": "ravik:general#/definitions/UINT" }
    },
    "Mixer.Product": {
      "DOMAIN": "Mixer", "MAPPING": "Product", "USEMAPPING": true,
      "SCHEMA": { "type": "string", "maxLength": 40 }
    },
    "Mixer.Ready": {
      "DOMAIN": "Mixer", "MAPPING": "Ready", "USEMAPPING": true,
      "SCHEMA": { "$ref": "ravik:general#/definitions/BOOL" }
    }
  }
}
)"},
    {"recipes.json", R"({
  "recipeTypeList": {
    "Dough": {
      "members": {
        "Product": { "symbol": "Mixer.Product", "enabled": true },
        "Speed": { "symbol": "Mixer.Speed", "enabled": true, "defaultValue": 80.0 },
        "Temperature": { "symbol": "Mixer.Temperature", "enabled": true, "defaultValue": 24.0 },
        "Duration": { "symbol": "Mixer.Duration", "enabled": true }
      }
    }
  },
  "recipeList": {
    "Bread": {
      "recipeTypeName": "Dough",
      "values": { "Product": "Bread", "Speed": 120.0, "Duration": 480 }
    },
    "Pizza": {
      "recipeTypeName": "Dough",
      "values": { "Product": "Pizza", "Speed": 150.0, "Temperature": 22.5, "Duration": 600 }
    }
  }
}
)"},
    {".gitignore", "# What the server writes: the store, and who may come in.\n/ravik.db*\n/ravik.users*\n"},
}};

[[noreturn]] void fail(fs::path const& path, int error)
{
    throw ProjectError(path.lexically_normal().string() +
                       ": can't be written: " + std::generic_category().message(error));
}

/// Files written so far; they go again unless all could be written.
class WrittenFiles
{
public:
    WrittenFiles() = default;
    ~WrittenFiles()
    {
        for (auto const& path : m_paths)
        {
            std::error_code ignored;
            fs::remove(path, ignored);
        }
    }
    WrittenFiles(WrittenFiles const&) = delete;
    WrittenFiles& operator=(WrittenFiles const&) = delete;

    void write(fs::path const& path, std::string_view content)
    {
        // Fails where there is a file, also one that came since we looked.
        auto const file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, everybody);
        if (file < 0)
        {
            fail(path, errno);
        }
        m_paths.push_back(path);
        auto const written = ::write(file, content.data(), content.size());
        auto const error = written < 0 ? errno : 0;
        if (::close(file) != 0 || written != static_cast<ssize_t>(content.size()))
        {
            fail(path, error != 0 ? error : ENOSPC);
        }
    }

    std::vector<fs::path> keep() { return std::exchange(m_paths, {}); }

private:
    std::vector<fs::path> m_paths;
};

} // namespace

std::vector<fs::path> create_sample_project(fs::path const& directory)
{
    std::error_code error;
    fs::create_directories(directory, error);
    if (error)
    {
        fail(directory, error.value());
    }
    for (auto const& file : sample_files)
    {
        auto const path = directory / file.name;
        if (fs::exists(fs::symlink_status(path, error)))
        {
            throw ProjectError(path.lexically_normal().string() +
                               ": the file exists already; a sample project is written into a folder without one");
        }
    }
    WrittenFiles written;
    for (auto const& file : sample_files)
    {
        written.write(directory / file.name, file.content);
    }
    return written.keep();
}

} // namespace Ravik
