#include "Project/RegularFile.h"

#include "Configuration/ProjectError.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Ravik
{

namespace
{

ProjectError unreadable(std::filesystem::path const& path, std::string const& what, std::string const& reason)
{
    return ProjectError(path.lexically_normal().string() + ": " + what + " can't be read: " + reason);
}

} // namespace

RegularFile::RegularFile(std::filesystem::path path, std::string what)
    : m_path(std::move(path)), m_what(std::move(what))
{
    // Without O_NONBLOCK the opening of a pipe would wait for somebody who writes.
    m_descriptor = ::open(m_path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (m_descriptor < 0)
    {
        fail(errno);
    }
    auto const error = ::fstat(m_descriptor, &m_status) == 0 ? 0 : errno;
    if (error != 0 || !S_ISREG(m_status.st_mode))
    {
        ::close(m_descriptor);
        throw unreadable(m_path, m_what, error != 0 ? std::generic_category().message(error) : "it is no regular file");
    }
}

RegularFile::RegularFile(RegularFile&& other) noexcept
    : m_path(std::move(other.m_path)), m_what(std::move(other.m_what)),
      m_descriptor(std::exchange(other.m_descriptor, -1)), m_status(other.m_status)
{
}

RegularFile::~RegularFile()
{
    if (m_descriptor >= 0)
    {
        ::close(m_descriptor);
    }
}

bool RegularFile::is_at_its_path() const noexcept
{
    struct stat now = {};
    return ::stat(m_path.c_str(), &now) == 0 && now.st_dev == m_status.st_dev && now.st_ino == m_status.st_ino;
}

std::string RegularFile::read() const
{
    constexpr std::size_t block = 65536;
    std::array<char, block> buffer{};
    std::string text;
    for (;;)
    {
        auto const size = ::read(m_descriptor, buffer.data(), buffer.size());
        if (size < 0)
        {
            fail(errno);
        }
        if (size == 0)
        {
            return text;
        }
        text.append(buffer.data(), static_cast<std::size_t>(size));
    }
}

void RegularFile::fail(int error) const
{
    throw unreadable(m_path, m_what, std::generic_category().message(error));
}

} // namespace Ravik
