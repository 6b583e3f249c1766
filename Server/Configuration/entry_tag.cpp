#include "Configuration/entry_tag.h"

#include "Json/Json.h"

#include <array>
#include <xxhash.h>

namespace Ravik
{

std::string entry_tag(RavikSrv::Value const& value)
{
    auto const text = Json::write(value);
    XXH128_canonical_t bytes;
    XXH128_canonicalFromHash(&bytes, XXH3_128bits(text.data(), text.size()));
    constexpr std::array digits{'0', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'a', 'b', 'c', 'd', 'e', 'f'};
    std::string tag;
    for (auto const byte : bytes.digest)
    {
        tag += digits.at(byte >> 4U);
        tag += digits.at(byte & 0xFU);
    }
    return tag;
}

} // namespace Ravik
