#pragma once

#include "KeyTable.h"

#include "RavikSrvExt/SharedText.h"
#include "RavikSrvExt/Value.h"

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
    std::vector<Value> items;
    KeyTablePointer keys;
    /// Links containers that are about to be destroyed, so that destruction needs neither recursion nor memory.
    Container* next_dead = nullptr;
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
