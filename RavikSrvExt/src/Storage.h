#pragma once

#include "KeyTable.h"

#include "RavikSrvExt/SharedText.h"
#include "RavikSrvExt/Value.h"

#include <memory>
#include <vector>

namespace RavikSrv::Detail
{

/// Whether values of this type hold named entries.
constexpr bool has_names(ValueType type) noexcept
{
    return type == ValueType::Map || type == ValueType::Struct || type == ValueType::Event ||
           type == ValueType::Message || type == ValueType::Alarm;
}

/// Whether values of this type hold a `Text`.
constexpr bool has_bytes(ValueType type) noexcept
{
    return type == ValueType::String || type == ValueType::Binary;
}

/// The entries of a map or the elements of a vector; a map has a key for each item, a vector has no keys.
struct Container : Counted
{
    Container() noexcept : keys() {}
    Container(Container const&) = delete;
    Container& operator=(Container const&) = delete;
    ~Container() { std::destroy_at(&keys); }

    // Containers that are about to be destroyed stand in a list, so that destruction needs neither recursion nor
    // memory.

    /// Puts this one in front of `next`, in exchange for its keys.
    void link(Container* next) noexcept
    {
        std::destroy_at(&keys);
        std::construct_at(&next_dead, next);
    }
    /// Takes it off again, and returns what stood behind it.
    Container* unlink() noexcept
    {
        auto* const next = next_dead;
        std::construct_at(&keys);
        return next;
    }

    std::vector<Value> items;
    union
    {
        KeyTablePointer keys;
        /// While it is in the list.
        Container* next_dead;
    };
};

/// The map's own table of keys for a change: a table that other maps share is copied first.
inline KeyTable& own_keys(Container& entries)
{
    if (!entries.keys->is_unique())
    {
        entries.keys = entries.keys->copy(entries.keys->size());
    }
    return *entries.keys;
}

/// What reading something that is not there answers.
Value const& null_value() noexcept;

} // namespace RavikSrv::Detail
