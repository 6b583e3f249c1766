#pragma once

#include <stdexcept>
#include <string>

namespace Ravik
{

/// Why a library could not do what it was asked for, in words for a person. They hold no password.
class LibraryError : public std::runtime_error
{
public:
    enum class Kind
    {
        /// There is no link: it was never there, it is lost, or the database did not answer in time. Nothing was
        /// changed. Worth trying again.
        Unreachable,
        /// The link was lost while an edit was being committed: whether it was made is not known.
        OutcomeUnknown,
        /// The database answered, and what was asked for can't be done: rights are missing, the layout is another, a
        /// row is damaged, the disk is full… Nothing was changed.
        Refused,
    };

    LibraryError(Kind kind, std::string const& text) : std::runtime_error(text), m_kind(kind) {}

    Kind kind() const noexcept { return m_kind; }

private:
    Kind m_kind;
};

} // namespace Ravik
