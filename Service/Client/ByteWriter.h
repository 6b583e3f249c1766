#pragma once

#include "RavikSrvExtApi.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace Ravik::Wire
{

/// Writes numbers, texts and values as the bytes that a `ByteReader` reads. Every value comes back exactly: its type,
/// the width of its number, the bits of a NaN, the order of its entries.
class ByteWriter
{
public:
    void byte(std::uint8_t value) { m_bytes.push_back(static_cast<char>(value)); }
    /// In groups of seven bits, the lowest first; each byte but the last has its highest bit set.
    void number(std::uint64_t value);
    /// The bits of the double, the lowest byte first.
    void real(double value);
    void text(std::string_view text);
    /// Throws `BrokenMessage` for a value that is nested deeper than a reader follows.
    void value(RavikSrv::Value const& value) { write(value, 0); }

    std::string const& bytes() const noexcept { return m_bytes; }

private:
    void write(RavikSrv::Value const& value, int depth);

    std::string m_bytes;
};

/// Deeper nested values are neither written nor read. Texts that are read as values end at half of it.
inline constexpr int deepest_value = 256;

} // namespace Ravik::Wire
