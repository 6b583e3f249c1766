#include "Client/ProjectFileMark.h"

#include "Project/Project.h"
#include "Project/RegularFile.h"

namespace Ravik
{

namespace
{

std::optional<std::string> content_of(std::filesystem::path const& file)
{
    try
    {
        return RegularFile(file, "the project file").read();
    }
    catch (ProjectError const&)
    {
        return std::nullopt;
    }
}

bool is_same_moment(timespec const& left, timespec const& right)
{
    return left.tv_sec == right.tv_sec && left.tv_nsec == right.tv_nsec;
}

} // namespace

ProjectFileMark::ProjectFileMark(std::filesystem::path const& directory)
    : m_file(std::filesystem::absolute(directory / project_file_name))
{
    // In this order, so that what is written in between shows as a change.
    static_cast<void>(::stat(m_file.c_str(), &m_status));
    m_content = content_of(m_file);
}

bool ProjectFileMark::has_changed() const
{
    struct stat status = {};
    static_cast<void>(::stat(m_file.c_str(), &status));
    // The time of the last change of the inode, which nobody can set, covers whatever was written.
    auto const is_untouched = status.st_ino == m_status.st_ino && status.st_dev == m_status.st_dev &&
                              status.st_size == m_status.st_size && is_same_moment(status.st_ctim, m_status.st_ctim);
    return !is_untouched && content_of(m_file) != m_content;
}

} // namespace Ravik
