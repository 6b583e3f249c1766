#pragma once

#include <filesystem>
#include <string>
#include <sys/stat.h>

namespace Ravik
{

/// A regular file, open for reading. Whatever else stands under its name (a folder, a device, a pipe that nobody writes
/// to) is refused at once: none of it is read or waited for.
class RegularFile
{
public:
    /// Opens `path`; messages call it `what` ("the library"). Throws `ProjectError` where it can't be read.
    RegularFile(std::filesystem::path path, std::string what);
    RegularFile(RegularFile&& other) noexcept;
    RegularFile(RegularFile const&) = delete;
    RegularFile& operator=(RegularFile const&) = delete;
    RegularFile& operator=(RegularFile&&) = delete;
    ~RegularFile();

    /// The path as it was given.
    std::filesystem::path const& path() const noexcept { return m_path; }
    /// Of the open file, whatever its path leads to by now.
    struct stat const& status() const noexcept { return m_status; }
    /// Whether the path still leads to the open file.
    bool is_at_its_path() const noexcept;
    /// The content. Throws `ProjectError` where it can't be read. Called once.
    std::string read() const;

private:
    [[noreturn]] void fail(int error) const;

    std::filesystem::path m_path;
    std::string m_what;
    int m_descriptor = -1;
    struct stat m_status = {};
};

} // namespace Ravik
