#pragma once

#include "Client/BrokenMessage.h"

#include "RavikSrvExtApi.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Ravik::Wire
{

/// Reads what a `ByteWriter` wrote. Whatever the bytes are, it reads no further than they go and takes memory in
/// proportion to them alone; where they are not what they should be, it throws `BrokenMessage`.
class ByteReader
{
public:
    /// The bytes must outlive the reader and the texts that it hands out.
    explicit ByteReader(std::string_view bytes) noexcept : m_rest(bytes) {}

    std::uint8_t byte();
    /// A byte that is 0 or 1.
    bool truth();
    std::uint64_t number();
    /// A number up to `highest`.
    std::uint64_t number(std::uint64_t highest);
    double real();
    std::string_view text();
    RavikSrv::Value value() { return read(0, nullptr); }
    /// How many elements follow, each of which takes a byte at least.
    std::size_t count() { return static_cast<std::size_t>(number(m_rest.size())); }

    /// Throws where anything is left.
    void expect_end() const;

private:
    /// `model` is a value that this one may resemble, null for none.
    RavikSrv::Value read(int depth, RavikSrv::Value const* model);
    RavikSrv::Value read_vector(int depth);
    RavikSrv::Value read_map(int depth, RavikSrv::Value const* model);

    std::string_view m_rest;
};

} // namespace Ravik::Wire
