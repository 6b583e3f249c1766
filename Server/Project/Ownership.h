#pragma once

#include "Project/RegularFile.h"

#include <filesystem>
#include <optional>
#include <string>
#include <sys/types.h>

namespace Ravik
{

/// Who may have a hand in a project: the caller and root; for root as the caller, root and the owner of the project's
/// folder. A project runs code of its libraries in the caller's name, so nobody else may be able to change what decides
/// on that code.
///
/// Whoever owns a file can change it, and so can everybody to whom its mode gives the right to write. A group counts as
/// nobody else where it is the private one of somebody who may: it bears that user's name, is his primary group, has no
/// further member, and no access list gives its rights to others. The sticky bit of a folder does not help, for what is
/// put in beside a file counts too.
class Ownership
{
public:
    /// `folder` is the project's.
    explicit Ownership(std::filesystem::path const& folder);

    /// Why the project can't be used, for a person, with what to do: somebody else could change its folder, or the
    /// file, or a folder in which the file or a symbolic link that leads to it stands.
    std::optional<std::string> objection() const;
    std::optional<std::string> objection(RegularFile const& file) const;

private:
    std::optional<std::string> objection_to(std::filesystem::path const& path, struct stat const& status) const;
    std::optional<std::string> objection_to_folder(std::filesystem::path const& path) const;
    bool may(uid_t user) const noexcept;
    bool is_private_group(gid_t group) const;

    std::filesystem::path m_folder;
    uid_t m_caller;
    /// Who may beside the caller and root.
    uid_t m_owner;
};

} // namespace Ravik
