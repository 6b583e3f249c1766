#include "Configuration/random_id.h"

#include "Configuration/store_format.h"

#include <cstdint>

namespace Ravik
{

std::string random_id()
{
    constexpr int bits_of_digit = 4;
    std::string text;
    for (auto half = 0; half < 2; ++half)
    {
        auto const number = StoreFormat::random_stamp();
        for (auto shift = 64 - bits_of_digit; shift >= 0; shift -= bits_of_digit)
        {
            text += "0123456789abcdef"[(number >> static_cast<unsigned>(shift)) & 0xFU];
        }
    }
    return text;
}

} // namespace Ravik
