#pragma once

#include "RavikSrvExt/Iterators.h"
#include "RavikSrvExt/Value.h"

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <cstdint>
#include <limits>
#include <memory>
#include <string_view>
#include <vector>

namespace RavikSrv::Detail
{

class KeyTable;

/// The names of a map's entries, in order. Maps of one shape share one table; a shared table is never changed, a table
/// with one owner grows in place. Above `linear_limit` names it keeps an open-addressing index of their hashes.
///
/// Names come from outside, so the hash is seeded at random for each process.
class KeyTable : public Counted
{
public:
    static constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();

    std::uint32_t size() const noexcept { return static_cast<std::uint32_t>(m_keys.size()); }
    Key const* data() const noexcept { return m_keys.data(); }
    std::string_view operator[](std::uint32_t position) const noexcept { return m_keys[position].name(); }

    /// The position of the name, or `none`.
    std::uint32_t find(std::string_view name) const noexcept;

    // These change the table, which therefore must have one owner.

    /// Appends a name that is not in the table.
    void append(std::string_view name);
    void erase(std::uint32_t position);
    void reserve(std::uint32_t count);
    void shrink_to_fit();

    /// A table of its own with the first `count` names of this one.
    boost::intrusive_ptr<KeyTable> copy(std::uint32_t count) const;

private:
    std::uint32_t find_linear(std::string_view name) const noexcept;
    void build_index(std::size_t slot_count);
    void enter(std::uint32_t position) noexcept;
    void leave(std::uint32_t position) noexcept;

    std::vector<Key> m_keys;
    /// Positions in `m_keys` (`none` for a free slot), found by hash; empty below the limit, a power of two above it.
    std::vector<std::uint32_t> m_slots;
};

inline void intrusive_ptr_add_ref(KeyTable const* table) noexcept
{
    table->add_reference();
}

inline void intrusive_ptr_release(KeyTable const* table) noexcept
{
    if (table->drop_reference())
    {
        std::unique_ptr<KeyTable const>{table}.reset();
    }
}

using KeyTablePointer = boost::intrusive_ptr<KeyTable>;

/// A new empty table with one owner.
KeyTablePointer make_key_table();

} // namespace RavikSrv::Detail
