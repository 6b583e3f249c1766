#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <sys/stat.h>

namespace Ravik
{

/// What ravik.json said when the mark was made: before a project is opened that stays open.
class ProjectFileMark
{
public:
    explicit ProjectFileMark(std::filesystem::path const& directory);

    /// Whether it says something else by now. Cheap as long as nobody touches the file.
    bool has_changed() const;

private:
    std::filesystem::path m_file;
    /// Nothing where it could not be read.
    std::optional<std::string> m_content;
    struct stat m_status = {};
};

} // namespace Ravik
