#include "Access/file_replacement.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace Ravik::Service
{

namespace
{

namespace fs = std::filesystem;

constexpr mode_t owner_alone = 0600;

[[noreturn]] void fail(fs::path const& file, std::string const& what, int error)
{
    throw std::system_error(error, std::generic_category(), file.string() + ": " + what);
}

void check(bool succeeded, fs::path const& file, std::string const& what)
{
    if (!succeeded)
    {
        fail(file, what, errno);
    }
}

class Descriptor
{
public:
    Descriptor(fs::path const& file, int flags, std::string const& what)
        : m_number(::open(file.c_str(), flags | O_CLOEXEC | O_NOFOLLOW, owner_alone))
    {
        check(m_number >= 0, file, what);
    }
    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;
    ~Descriptor()
    {
        if (m_number >= 0)
        {
            ::close(m_number);
        }
    }

    int number() const noexcept { return m_number; }
    int release() noexcept { return std::exchange(m_number, -1); }

private:
    int m_number;
};

fs::path beside(fs::path const& file, char const* suffix)
{
    return file.string() + suffix;
}

/// What root makes is the folder owner's, whom it would keep out otherwise. Only for what the caller has made himself.
void give_to_owner(Descriptor const& made, fs::path const& file)
{
    struct stat folder = {};
    if (::geteuid() == 0)
    {
        check(::stat(file.parent_path().c_str(), &folder) == 0 &&
                  ::fchown(made.number(), folder.st_uid, folder.st_gid) == 0,
              file, "can't be given to the owner of its folder");
    }
}

/// Where there is none yet. One that is there keeps its owner: it may be a link to anything.
void make_lock_file(fs::path const& name)
{
    std::error_code unknown;
    if (fs::symlink_status(name, unknown).type() != fs::file_type::not_found)
    {
        return;
    }
    try
    {
        give_to_owner(Descriptor(name, O_RDONLY | O_CREAT | O_EXCL, "can't be made"), name);
    }
    catch (std::system_error const& error)
    {
        // Somebody else has just made it.
        if (error.code() != std::errc::file_exists)
        {
            throw;
        }
    }
}

void write_all(Descriptor const& out, fs::path const& file, std::string_view text)
{
    while (!text.empty())
    {
        auto const size = ::write(out.number(), text.data(), text.size());
        check(size >= 0 || errno == EINTR, file, "can't be written");
        text.remove_prefix(size > 0 ? static_cast<std::size_t>(size) : 0);
    }
}

void sync_folder(fs::path const& folder)
{
    Descriptor const opened(folder, O_RDONLY | O_DIRECTORY, "can't be opened");
    check(::fsync(opened.number()) == 0, folder, "can't be written");
}

/// Removes the file unless it got its place.
class Leftover
{
public:
    explicit Leftover(fs::path file) : m_file(std::move(file)) { ::unlink(m_file.c_str()); }
    Leftover(Leftover const&) = delete;
    Leftover& operator=(Leftover const&) = delete;
    ~Leftover() { ::unlink(m_file.c_str()); }

private:
    fs::path m_file;
};

} // namespace

FileLock::FileLock(fs::path const& file)
{
    auto const name = beside(file, ".lock");
    make_lock_file(name);
    Descriptor lock(name, O_RDONLY | O_NONBLOCK, "can't be opened to change " + file.filename().string());
    auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (::flock(lock.number(), LOCK_EX | LOCK_NB) != 0)
    {
        auto const is_held = errno == EWOULDBLOCK;
        check(is_held || errno == EINTR, name, "can't be locked");
        if (std::chrono::steady_clock::now() > end)
        {
            throw std::runtime_error(file.string() +
                                     ": another process is changing it and does not come to an end; "
                                     "'fuser " +
                                     name.string() + "' tells which");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    m_descriptor = lock.release();
}

FileLock::~FileLock()
{
    ::close(m_descriptor);
}

void replace_file(fs::path const& file, std::string_view text)
{
    auto const name = beside(file, ".new");
    Leftover const leftover(name);
    Descriptor const made(name, O_WRONLY | O_CREAT | O_EXCL, "can't be made");
    check(::fchmod(made.number(), owner_alone) == 0, name, "can't be made");
    give_to_owner(made, name);
    write_all(made, name, text);
    check(::fsync(made.number()) == 0, name, "can't be written");
    check(::rename(name.c_str(), file.c_str()) == 0, file, "can't be replaced");
    sync_folder(file.parent_path());
}

uid_t owner_beside(fs::path const& file) noexcept
{
    struct stat folder = {};
    auto const caller = ::geteuid();
    return caller == 0 && ::stat(file.parent_path().c_str(), &folder) == 0 ? folder.st_uid : caller;
}

} // namespace Ravik::Service
