#include "Configuration/LibraryStatus.h"

#include <array>
#include <cstddef>

namespace Ravik
{

char const* name_of(LibraryStatus::State state) noexcept
{
    constexpr std::array<char const*, 6> names{"none", "not joined", "connecting", "following", "alone", "stopped"};
    return names.at(static_cast<std::size_t>(state));
}

} // namespace Ravik
