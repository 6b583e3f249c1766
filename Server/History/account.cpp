#include "History/account.h"

#include <array>
#include <pwd.h>

namespace Ravik
{

std::string account_of(uid_t user)
{
    std::array<char, 4096> memory{};
    struct passwd entry = {};
    struct passwd* found = nullptr;
    auto const result = getpwuid_r(user, &entry, memory.data(), memory.size(), &found);
    return result == 0 && found != nullptr ? std::string(found->pw_name) : "uid " + std::to_string(user);
}

} // namespace Ravik
