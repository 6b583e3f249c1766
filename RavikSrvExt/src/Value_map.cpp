#include "RavikSrvExt/Value.h"

#include "Storage.h"

#include <utility>

namespace RavikSrv
{

using Detail::Container;
using Detail::has_names;
using Detail::KeyTable;

namespace
{

std::uint32_t position_of(Container const* entries, std::string_view name) noexcept
{
    return entries == nullptr ? KeyTable::none : entries->keys->find(name);
}

template <typename T> Iterator<T> iterator_at(Container const& entries, T* items, std::size_t position) noexcept
{
    return {entries.keys->data() + position, items + position};
}

/// Appends to both lists or, where memory runs out, to neither.
void append_entry(Container& entries, std::string_view name, Value&& value)
{
    // The name may be one of the table that a copy of it is about to replace.
    auto const names = entries.keys->is_unique() ? Detail::KeyTablePointer() : entries.keys;
    entries.items.push_back(std::move(value));
    try
    {
        own_keys(entries).append(name);
    }
    catch (...)
    {
        entries.items.pop_back();
        throw;
    }
}

} // namespace

Value const* Value::entry(char const* name) const noexcept
{
    auto const* const container = entries();
    auto const position = position_of(container, name);
    return position == KeyTable::none ? nullptr : &container->items[position];
}

Value* Value::entry(char const* name)
{
    auto const position = position_of(entries(), name);
    return position == KeyTable::none ? nullptr : &own().items[position];
}

Iterator<Value> Value::find(char const* name)
{
    auto const position = position_of(entries(), name);
    if (position == KeyTable::none)
    {
        return end();
    }
    auto& container = own();
    return iterator_at(container, container.items.data(), position);
}

ConstIterator<Value> Value::find(char const* name) const noexcept
{
    auto const* const container = entries();
    auto const position = position_of(container, name);
    return position == KeyTable::none ? end() : iterator_at(*container, container->items.data(), position);
}

Value const& Value::operator[](char const* name) const noexcept
{
    auto const* const found = entry(name);
    return found == nullptr ? Detail::null_value() : *found;
}

Value& Value::operator[](char const* name)
{
    if (has_names(m_type))
    {
        auto const position = ensure(name, Value());
        return own().items[position];
    }
    Value map(ValueType::Map);
    map.ensure(name, Value());
    swap(map); // the old content goes last: the name may be part of it
    return own().items.front();
}

/// The position of the entry of this map, which is appended with `value` where it is missing.
std::uint32_t Value::ensure(char const* name, Value const& value)
{
    auto const position = position_of(entries(), name);
    if (position != KeyTable::none)
    {
        return position;
    }
    Value kept = value; // it may be an entry of this very map, or the map itself
    auto& container = own();
    append_entry(container, name, std::move(kept));
    return container.keys->size() - 1;
}

Iterator<Value> Value::insert(char const* name, Value const& value)
{
    if (m_type == ValueType::Null)
    {
        set_type(ValueType::Map);
    }
    if (!has_names(m_type))
    {
        return end();
    }
    auto const position = ensure(name, value);
    auto& container = own();
    return iterator_at(container, container.items.data(), position);
}

Iterator<Value> Value::insert_or_update(char const* name, Value const& value)
{
    auto const position = position_of(entries(), name);
    if (position == KeyTable::none)
    {
        return insert(name, value);
    }
    Value kept = value;
    auto& container = own();
    container.items[position].swap(kept);
    return iterator_at(container, container.items.data(), position);
}

/// Takes an item out of the list. The ones behind it close up without their references being counted, which is several
/// times faster than moving each.
void Value::take_out(std::vector<Value>& items, std::size_t position) noexcept
{
    Value gone;
    gone.swap(items[position]);
    for (auto next = position + 1; next < items.size(); ++next)
    {
        items[next - 1].m_scalar = items[next].m_scalar;
        items[next - 1].m_type = items[next].m_type;
        items[next - 1].m_counted = items[next].m_counted;
    }
    items.back().forget();
    items.pop_back();
}

bool Value::erase(char const* name)
{
    auto const position = position_of(entries(), name);
    if (position == KeyTable::none)
    {
        return false;
    }
    auto& container = own();
    own_keys(container).erase(position);
    take_out(container.items, position);
    return true;
}

Iterator<Value> Value::begin()
{
    if (entries() == nullptr)
    {
        return {};
    }
    auto& container = own();
    return iterator_at(container, container.items.data(), 0);
}

Iterator<Value> Value::end()
{
    if (entries() == nullptr)
    {
        return {};
    }
    auto& container = own();
    return iterator_at(container, container.items.data(), container.items.size());
}

ConstIterator<Value> Value::begin() const noexcept
{
    auto const* const container = entries();
    return container == nullptr ? ConstIterator<Value>() : iterator_at(*container, container->items.data(), 0);
}

ConstIterator<Value> Value::end() const noexcept
{
    auto const* const container = entries();
    return container == nullptr ? ConstIterator<Value>()
                                : iterator_at(*container, container->items.data(), container->items.size());
}

} // namespace RavikSrv
