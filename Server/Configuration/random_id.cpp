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

bool is_random_id(std::string_view text) noexcept
{
    constexpr std::size_t length = 32;
    return text.size() == length && text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

} // namespace Ravik
