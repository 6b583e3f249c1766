#include "Configuration/Library.h"

namespace Ravik
{

namespace
{

constexpr auto reason = "this program was built without PostgreSQL (libpq), so it has no libraries of recipes";

} // namespace

std::unique_ptr<Library> Library::connect(LibrarySettings const& /*settings*/, Caller const& /*caller*/, Kind /*kind*/)
{
    throw LibraryError(LibraryError::Kind::Refused, reason);
}

std::string Library::initialise(LibrarySettings const& /*settings*/, bool /*upgrade*/)
{
    throw LibraryError(LibraryError::Kind::Refused, reason);
}

std::string Library::objection(LibrarySettings const& /*settings*/)
{
    return reason;
}

} // namespace Ravik
