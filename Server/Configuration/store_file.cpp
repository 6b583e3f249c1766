#include "Configuration/store_file.h"

#include "Configuration/StoreError.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <random>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace Ravik::StoreFile
{

namespace fs = std::filesystem;

namespace
{

/// The byte on which SQLite's writers hold a lock, by its file format: the byte at 1 GiB plus two.
constexpr off_t reserved_byte = 0x40000001;
constexpr off_t shared_bytes = 0x40000002;
constexpr off_t shared_length = 510;

/// Two processes that open a store in the same instant may both find it taken; so long each of them tries again.
constexpr std::chrono::milliseconds collision_grace{250};

std::string words(int error)
{
    return std::generic_category().message(error);
}

fs::path folder_of(fs::path const& file)
{
    return file.has_parent_path() ? file.parent_path() : fs::path(".");
}

/// The process that holds SQLite's locks on the file, where the system tells. Only called while this process holds
/// none: closing any descriptor of a file gives up a process's locks on it.
std::optional<pid_t> lock_holder(fs::path const& file)
{
    auto const descriptor = ::open(file.c_str(), O_RDWR | O_CLOEXEC);
    if (descriptor < 0)
    {
        return std::nullopt;
    }
    std::optional<pid_t> holder;
    for (auto const& [start, length] : {std::pair{shared_bytes, shared_length}, std::pair{reserved_byte, off_t{1}}})
    {
        struct flock lock
        {
        };
        lock.l_type = F_WRLCK;
        lock.l_whence = SEEK_SET;
        lock.l_start = start;
        lock.l_len = length;
        if (::fcntl(descriptor, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK)
        {
            holder = lock.l_pid;
            break;
        }
    }
    ::close(descriptor);
    return holder;
}

/// Throws where the caller lacks the right, or where the file system takes no writing.
void check_right(fs::path const& path, int right, std::string const& may_not)
{
    if (::faccessat(AT_FDCWD, path.c_str(), right, AT_EACCESS) != 0 && (errno == EACCES || errno == EROFS))
    {
        throw ProjectError("you may not " + may_not + " " + path.string() + ": " + words(errno));
    }
}

void check_rights(fs::path const& file)
{
    check_right(file, R_OK, "read the store");
    check_right(file, W_OK, "write the store");
    check_right(folder_of(file), W_OK | X_OK, "write into the store's folder");
}

/// What stands there before SQLite looks at it.
void check_file(fs::path const& file)
{
    check_rights(file);
    if (!fs::is_regular_file(file))
    {
        throw ProjectError(file.string() + " is no file; move it away to start anew");
    }
    if (fs::file_size(file) == 0)
    {
        throw Damaged(file, "it has no bytes, which no store that ravik made ever has");
    }
    auto const journal = file.string() + "-journal";
    if (fs::exists(journal))
    {
        throw ProjectError(journal + " belongs to no store of ravik, and SQLite would write it into " +
                           file.filename().string() + "; move it away");
    }
}

/// Settles how the connection works. The locking mode comes first, so that the write-ahead log works without shared
/// memory and a second process is told at once.
void claim(sqlite3* database, fs::path const& file)
{
    sqlite3_db_config(database, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, has_log(file) ? 1 : 0, nullptr);
    sqlite3_db_config(database, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    Sqlite::execute(database, "PRAGMA locking_mode=EXCLUSIVE; PRAGMA temp_store=MEMORY; PRAGMA cell_size_check=ON;"
                              "PRAGMA secure_delete=ON; PRAGMA wal_autocheckpoint=0; PRAGMA synchronous=FULL;"
                              "BEGIN EXCLUSIVE; COMMIT");
}

std::int64_t known_version(sqlite3* database, fs::path const& file)
{
    if (Sqlite::number(database, "PRAGMA application_id") != StoreFormat::application_id)
    {
        throw ProjectError(file.string() + " is a database of another program; move it away to start anew");
    }
    auto const version = Sqlite::number(database, "PRAGMA user_version");
    if (version > StoreFormat::newest)
    {
        throw ProjectError(file.string() + " was written by a later version of ravik; use that version");
    }
    Sqlite::Statement mode(database, "PRAGMA journal_mode");
    // By a number in its header SQLite takes a file for one that only a later version of it may write.
    auto const is_read_only = sqlite3_db_readonly(database, "main") != 0;
    if (version < StoreFormat::without_checksums || is_read_only || !mode.step() || mode.text(0) != "wal")
    {
        throw Damaged(file, "its header is damaged");
    }
    return version;
}

/// Whether another file has taken this one's name since it was opened.
bool has_moved(sqlite3* database)
{
    int moved = 0;
    sqlite3_file_control(database, "main", SQLITE_FCNTL_HAS_MOVED, &moved);
    return moved != 0;
}

/// One try; each opens the file anew: one that fails keeps a shared lock in this locking mode, with which several
/// waiting processes would hold each other off for good.
Taken try_to_take(fs::path const& file, std::function<void()> const& missing)
{
    if (!fs::exists(file))
    {
        missing();
    }
    check_file(file);
    Taken taken{.database = Sqlite::open(file)};
    claim(taken.database.get(), file);
    if (has_moved(taken.database.get()))
    {
        throw Sqlite::Error(SQLITE_BUSY, "another file has taken its place");
    }
    taken.version = known_version(taken.database.get(), file);
    return taken;
}

} // namespace

// Taking --------------------------------------------------------------------------------------------------------------

Taken take(fs::path const& file, std::chrono::seconds wait, std::function<void()> const& missing)
{
    auto const deadline = std::chrono::steady_clock::now() + std::max<std::chrono::milliseconds>(wait, collision_grace);
    std::minstd_rand random(static_cast<std::minstd_rand::result_type>(getpid()));
    while (true)
    {
        try
        {
            return try_to_take(file, missing);
        }
        catch (Sqlite::Error const& error)
        {
            if (error.code() != SQLITE_BUSY || std::chrono::steady_clock::now() >= deadline)
            {
                explain(file, error);
            }
        }
        // Processes that were started together try again at different times.
        std::this_thread::sleep_for(std::chrono::milliseconds(std::uniform_int_distribution(5, 25)(random)));
    }
}

void settle(sqlite3* database)
{
    sqlite3_db_config(database, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 0, nullptr);
}

fs::path log_of(fs::path const& file)
{
    return file.string() + "-wal";
}

bool has_log(fs::path const& file)
{
    std::error_code ignored;
    auto const size = fs::file_size(log_of(file), ignored);
    return !ignored && size > 0;
}

std::optional<std::uint64_t> stamp_in_file(fs::path const& file)
{
    try
    {
        auto const sum = StoreFormat::read_sum(Sqlite::open_without_log(file).get());
        return sum ? std::optional(sum->stamp) : std::nullopt;
    }
    catch (Sqlite::Error const&)
    {
        return std::nullopt;
    }
}

bool has_foreign_log(sqlite3* database, fs::path const& file)
{
    if (!has_log(file))
    {
        return false;
    }
    auto const sum = StoreFormat::read_sum(database);
    auto const stamp = stamp_in_file(file);
    // A file of which nothing can be read is none of another store: a crash may have torn what its log holds whole.
    return sum && stamp && *stamp != sum->base && *stamp != sum->stamp;
}

Damaged::Damaged(fs::path const& file, std::string const& fault)
    : ProjectError(
          file.string() + ": " + fault +
          "; 'ravik store restore FILE' puts a backup in its place, 'ravik store repair' keeps every row that is "
          "whole"),
      m_fault(fault)
{
}

void explain(fs::path const& file, Sqlite::Error const& error)
{
    auto const name = file.string();
    switch (error.code())
    {
    case SQLITE_NOTADB:
        throw Damaged(file, "it is no store of ravik and no SQLite database; move it away to start anew");
    case SQLITE_BUSY:
    {
        auto const holder = lock_holder(file);
        throw ProjectInUse("the project is open in another process" +
                           (holder ? " (pid " + std::to_string(*holder) + ")" : std::string()) +
                           "; close it there, or wait for it with --wait SECONDS");
    }
    case SQLITE_CORRUPT:
    case SQLITE_ERROR:
        throw Damaged(file, std::string("it is damaged") +
                                (has_log(file)
                                     ? ", or its log " + log_of(file).filename().string() + " belongs to another store"
                                     : std::string()) +
                                ": " + error.what());
    default:
        throw ProjectError("can't open the store " + name + ": " + error.what());
    }
}

void check_copy_target(fs::path const& file, fs::path const& target)
{
    if (fs::exists(target) && fs::exists(file) && fs::equivalent(target, file))
    {
        throw StoreError("it is the store itself");
    }
    if (fs::weakly_canonical(target).string().starts_with(fs::weakly_canonical(file).string() + '-'))
    {
        throw StoreError("names that begin so are those of the store's own log and copies");
    }
}

// Replacing -----------------------------------------------------------------------------------------------------------

namespace
{

/// Brings a file's content, or the names in a folder, onto the medium.
void sync(fs::path const& path)
{
    auto const descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    auto const done = descriptor >= 0 && ::fsync(descriptor) == 0;
    auto const error = errno;
    if (descriptor >= 0)
    {
        ::close(descriptor);
    }
    if (!done)
    {
        throw ProjectError(path.string() + " can't be brought onto the medium: " + words(error));
    }
}

} // namespace

Replacement::Replacement(fs::path const& target) : m_target(target), m_file(target.string() + "-new")
{
    check_right(folder_of(target), W_OK | X_OK, "write into the folder");
    constexpr mode_t owner_alone = 0600;
    m_descriptor = ::open(m_file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, owner_alone);
    if (m_descriptor < 0)
    {
        throw ProjectError("can't make " + m_file.string() + ": " + words(errno));
    }
    try
    {
        lock();
    }
    catch (...)
    {
        ::close(m_descriptor);
        throw;
    }
}

/// Takes the file, and empties it of what a killed process left. The lock is another kind than SQLite's, so the two do
/// not meet.
void Replacement::lock()
{
    struct stat held = {};
    struct stat named = {};
    if (::flock(m_descriptor, LOCK_EX | LOCK_NB) != 0 || ::fstat(m_descriptor, &held) != 0 ||
        ::stat(m_file.c_str(), &named) != 0 || held.st_ino != named.st_ino)
    {
        throw Sqlite::Error(SQLITE_BUSY, "another process makes a store here");
    }
    for (auto const* const suffix : {"-journal", "-wal"})
    {
        fs::remove(m_file.string() + suffix);
    }
    constexpr mode_t owner_alone = 0600;
    if (::ftruncate(m_descriptor, 0) != 0 || ::fchmod(m_descriptor, owner_alone) != 0)
    {
        throw ProjectError("can't make " + m_file.string() + ": " + words(errno));
    }
}

Replacement::~Replacement()
{
    if (!m_done)
    {
        for (auto const* const suffix : {"", "-journal", "-wal"})
        {
            std::error_code ignored;
            fs::remove(m_file.string() + suffix, ignored);
        }
    }
    ::close(m_descriptor);
}

Sqlite::Database Replacement::open() const
{
    auto database = Sqlite::open(m_file);
    Sqlite::execute(database.get(), "PRAGMA synchronous=OFF");
    return database;
}

void Replacement::make_empty() const
{
    auto const database = open();
    Sqlite::execute(database.get(), "PRAGMA journal_mode=MEMORY; BEGIN");
    StoreFormat::make_tables(database.get());
    StoreFormat::write_sum(database.get(), {});
    Sqlite::execute(database.get(), "COMMIT");
}

void Replacement::stamp() const
{
    auto const database = open();
    auto sum = StoreFormat::read_sum(database.get());
    if (!sum)
    {
        throw StoreError("the copy has no sum of its rows");
    }
    sum->stamp = sum->base = StoreFormat::random_stamp();
    StoreFormat::write_sum(database.get(), *sum);
    // Stores are in this mode from the first byte on, so that none ever has a journal of another kind beside it.
    Sqlite::execute(database.get(), "PRAGMA journal_mode=WAL");
}

void Replacement::become_target(fs::path const& log_kept_as)
{
    sync(m_file);
    struct stat before = {};
    if (::stat(m_target.c_str(), &before) == 0)
    {
        // Who is not root may be unable to give it away; what matters is that root does not take it.
        static_cast<void>(::fchown(m_descriptor, before.st_uid, before.st_gid) == 0);
    }
    // Taken before it has its name, so that nobody opens it while the old log stands beside it.
    auto taken = Sqlite::open(m_file);
    Sqlite::execute(taken.get(), "PRAGMA locking_mode=EXCLUSIVE; BEGIN EXCLUSIVE; COMMIT");
    if (::rename(m_file.c_str(), m_target.c_str()) != 0)
    {
        throw ProjectError("can't write " + m_target.string() + ": " + words(errno));
    }
    m_done = true;
    auto const log = log_of(m_target);
    if (fs::exists(log))
    {
        log_kept_as.empty() ? static_cast<void>(fs::remove(log)) : fs::rename(log, log_kept_as);
    }
    sync(folder_of(m_target));
    taken.reset();
    fs::remove(log_of(m_file));
}

} // namespace Ravik::StoreFile
