#pragma once

#include <filesystem>
#include <string_view>
#include <sys/types.h>

/// Replacing a small file of secrets, one process at a time.
namespace Ravik::Service
{

/// Keeps every other process and thread that asks for it from changing the file, as long as it lives. It is held on a
/// file beside it, "FILE.lock", which is never removed: what is held there ends with the process, however that ends.
class FileLock
{
public:
    /// Throws `std::runtime_error` where it is not had within five seconds.
    explicit FileLock(std::filesystem::path const& file);
    FileLock(FileLock const&) = delete;
    FileLock& operator=(FileLock const&) = delete;
    ~FileLock();

private:
    int m_descriptor;
};

/// Puts a file with that text, readable by its owner alone, in the place of the file: after a fault, or a loss of
/// power, the one or the other stands there whole. To be called under its lock. Throws `std::runtime_error`.
void replace_file(std::filesystem::path const& file, std::string_view text);

/// Whose files the caller makes beside the file: his own; root's are those of the folder's owner.
uid_t owner_beside(std::filesystem::path const& file) noexcept;

} // namespace Ravik::Service
