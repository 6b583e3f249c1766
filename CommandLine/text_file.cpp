#include "text_file.h"

#include "Failure.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Ravik::CommandLine
{

namespace
{

namespace fs = std::filesystem;
using RavikSrv::ErrorValue;

[[noreturn]] void fail(ErrorValue error, std::string const& file, std::string const& what)
{
    throw Failure(error, file + ": " + what);
}

[[noreturn]] void fail_with(int number, std::string const& file, std::string const& what)
{
    fail(number == ENOENT ? ErrorValue::FILE_NOT_FOUND : ErrorValue::FILESYSTEM, file,
         what + ": " + std::generic_category().message(number));
}

/// What came of writing: 0, or the number of the error that stopped it.
void fail_on(int number, std::string const& file)
{
    if (number != 0)
    {
        fail_with(number, file, "can't be written");
    }
}

[[noreturn]] void exists_already(std::string const& file)
{
    fail(ErrorValue::FILE_WRITE, file, "the file exists already; --force replaces it");
}

class Descriptor
{
public:
    explicit Descriptor(int number) : m_number(number) {}
    ~Descriptor() { close(); }
    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;

    int number() const noexcept { return m_number; }
    bool is_open() const noexcept { return m_number >= 0; }
    void swap(Descriptor& other) noexcept { std::swap(m_number, other.m_number); }

    /// Returns 0 or the error number; some file systems report a failed write only here.
    int close() noexcept
    {
        auto const number = m_number;
        m_number = -1;
        return number >= 0 && ::close(number) != 0 ? errno : 0;
    }

private:
    int m_number;
};

std::string read_all(int descriptor, std::string const& name)
{
    std::string text;
    std::array<char, 65536> buffer;
    for (;;)
    {
        auto const count = ::read(descriptor, buffer.data(), buffer.size());
        if (count == 0)
        {
            return text;
        }
        if (count < 0 && errno != EINTR)
        {
            fail_with(errno, name, "can't be read");
        }
        text.append(buffer.data(), count < 0 ? 0 : static_cast<std::size_t>(count));
    }
}

/// A file with a name of its own in the folder of the one that it is to become. Removed where it did not.
class TemporaryFile
{
public:
    explicit TemporaryFile(fs::path const& target)
    {
        constexpr int attempts = 100;
        for (int attempt = 0; attempt < attempts && !m_file.is_open(); ++attempt)
        {
            m_path = target.parent_path() / (".ravik-" + std::to_string(::getpid()) + '-' + std::to_string(attempt));
            open();
        }
        if (!m_file.is_open())
        {
            fail_with(errno, target, "can't be written");
        }
    }
    ~TemporaryFile()
    {
        if (!m_done)
        {
            ::unlink(m_path.c_str());
        }
    }
    TemporaryFile(TemporaryFile const&) = delete;
    TemporaryFile& operator=(TemporaryFile const&) = delete;

    void write(std::string_view text, fs::path const& target)
    {
        struct stat existing = {};
        if (::stat(target.c_str(), &existing) == 0 && ::fchmod(m_file.number(), existing.st_mode & 07777U) != 0)
        {
            fail_with(errno, target, "can't be written");
        }
        auto error = write_all(m_file.number(), text);
        if (error == 0 && ::fsync(m_file.number()) != 0)
        {
            error = errno;
        }
        fail_on(error != 0 ? error : m_file.close(), target);
    }

    void become(fs::path const& target, Existing existing)
    {
        auto error = move_to(target, existing == Existing::replaced ? 0U : unsigned{RENAME_NOREPLACE});
        if (error == EINVAL && existing == Existing::kept && ::access(target.c_str(), F_OK) != 0)
        {
            // The file system can't promise not to replace; the look before has to do.
            error = move_to(target, 0);
        }
        if (error == EEXIST)
        {
            exists_already(target);
        }
        fail_on(error, target);
        m_done = true;
    }

private:
    /// Opening with O_EXCL leaves the access rights to the user's mask.
    void open()
    {
        constexpr mode_t everybody = 0666;
        Descriptor opened(::open(m_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, everybody));
        m_file.swap(opened);
    }

    int move_to(fs::path const& target, unsigned flags) const
    {
        return ::renameat2(AT_FDCWD, m_path.c_str(), AT_FDCWD, target.c_str(), flags) == 0 ? 0 : errno;
    }

    fs::path m_path;
    Descriptor m_file{-1};
    bool m_done = false;
};

} // namespace

int write_all(int descriptor, std::string_view text)
{
    while (!text.empty())
    {
        auto const written = ::write(descriptor, text.data(), text.size());
        if (written < 0 && errno != EINTR)
        {
            return errno;
        }
        text.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return 0;
}

std::string read_text(std::string const& file)
{
    if (file == "-")
    {
        return read_all(STDIN_FILENO, "standard input");
    }
    Descriptor const opened(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    if (!opened.is_open())
    {
        fail_with(errno, file, "can't be read");
    }
    return read_all(opened.number(), file);
}

void check_writable(std::string const& file, Existing existing)
{
    std::error_code ignored;
    auto const status = fs::symlink_status(file, ignored);
    if (fs::is_directory(fs::status(file, ignored)))
    {
        fail(ErrorValue::FILESYSTEM, file, "is a folder");
    }
    if (fs::exists(status) && existing == Existing::kept)
    {
        exists_already(file);
    }
}

void write_text(std::string const& file, std::string_view text, Existing existing)
{
    check_writable(file, existing);
    std::error_code ignored;
    auto const status = fs::status(file, ignored);
    if (fs::exists(status) && !fs::is_regular_file(status))
    {
        // A device or pipe is written to, not replaced.
        Descriptor device(::open(file.c_str(), O_WRONLY | O_CLOEXEC));
        auto const error = device.is_open() ? write_all(device.number(), text) : errno;
        fail_on(error != 0 ? error : device.close(), file);
        return;
    }
    auto const target = fs::exists(status) ? fs::canonical(file) : fs::path(file);
    TemporaryFile temporary(target);
    temporary.write(text, target);
    temporary.become(target, existing);
}

} // namespace Ravik::CommandLine
