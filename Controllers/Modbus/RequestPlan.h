#pragma once

#include "Address.h"

#include <cstdint>
#include <span>
#include <vector>

namespace Modbus
{

/// What a device can take, by the protocol at most.
struct Limits
{
    std::uint32_t registers_per_write = 123;
    std::uint32_t registers_per_read = 125;
    std::uint32_t bits_per_write = 1968;
    std::uint32_t bits_per_read = 2000;
    /// How many cells that nobody asked for may stand between two that are read together.
    std::uint32_t read_gap = 8;
    /// Whether the device knows only requests that write one cell as a whole.
    bool single_writes_only = false;

    std::uint32_t per_write(Table table) const noexcept;
    std::uint32_t per_read(Table table) const noexcept;
};

/// One access of a group.
struct Access
{
    Address address;
    bool writes = false;
};

enum class RequestKind : std::uint8_t
{
    READ,
    WRITE,
    /// Writes bits of one register and leaves the others as they are.
    WRITE_BITS_OF_REGISTER,
};

/// Cells of one table that are read or written together, on behalf of some accesses. Only where a single access has
/// more cells than a device takes at once are they more than that.
struct Request
{
    RequestKind kind = RequestKind::READ;
    Table table = Table::HOLDING;
    std::uint32_t first = 0;
    std::uint32_t count = 0;
    /// The accesses, as a range of `Plan::order`.
    std::uint32_t begin = 0;
    std::uint32_t end = 0;

    friend bool operator==(Request const&, Request const&) = default;
};

/// Requests in the order in which they are to be sent.
struct Plan
{
    std::vector<Request> requests;
    /// Indices of the planned accesses, request by request.
    std::vector<std::uint32_t> order;
};

/// Plans the fewest requests that keep what a machine may depend on.
///
/// Writes keep their order: only accesses that follow one another in `accesses` and in the table share a request, and
/// bits of one register that follow one another, each bit once. Reads that follow one another are sorted by address and
/// merged, over gaps of up to `read_gap` cells; a read that follows a write comes after it. The cells of one access are
/// never torn apart between two requests that other accesses share.
///
/// Pure; takes n log n.
Plan plan_requests(std::span<Access const> accesses, Limits const& limits);

/// What is to be sent in place of a request that the device refused, so that the accesses at fault become known: a read
/// that spans unused cells without them, any other request access by access. Empty where nothing is left to be split.
std::vector<Request> split(Request const& request, Plan const& plan, std::span<Access const> accesses);

} // namespace Modbus
