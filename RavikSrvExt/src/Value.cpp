#include "RavikSrvExt/Value.h"

#include "Storage.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <type_traits>

namespace RavikSrv
{

static_assert(std::is_nothrow_move_constructible_v<Value> && std::is_nothrow_move_assignable_v<Value>);

using Detail::Container;
using Detail::has_bytes;
using Detail::has_names;
using Detail::KeyTable;
using Detail::Text;

namespace Detail
{

Text const* Text::make(std::string_view bytes)
{
    if (bytes.empty())
    {
        return nullptr;
    }
    if (bytes.size() > std::numeric_limits<std::uint32_t>::max())
    {
        throw std::length_error("a text is too long for a value");
    }
    void* const block = ::operator new(sizeof(Text) + bytes.size() + 1);
    auto* const text = std::construct_at(static_cast<Text*>(block));
    text->size = static_cast<std::uint32_t>(bytes.size());
    auto* const characters = reinterpret_cast<char*>(text + 1);
    std::memcpy(characters, bytes.data(), bytes.size());
    characters[bytes.size()] = '\0';
    return text;
}

void Text::destroy(Text const* text) noexcept
{
    std::destroy_at(text);
    ::operator delete(const_cast<Text*>(text));
}

Value const& null_value() noexcept
{
    static Value const null;
    return null;
}

} // namespace Detail

// Construction and destruction ----------------------------------------------------------------------------------------

Value::Value(char const* text) : Value(std::string_view(text))
{
}

Value::Value(std::string_view text) : Value(ValueType::String, Text::make(text))
{
}

/// Destroys what this value held the last reference to. Containers inside it that nobody else refers to are put on a
/// list instead of being destroyed in place, so that no nesting, however deep, costs stack.
void Value::destroy() noexcept
{
    if (has_bytes(m_type))
    {
        Text::destroy(static_cast<Text const*>(m_scalar.shared));
        return;
    }
    auto* dead = const_cast<Container*>(static_cast<Container const*>(m_scalar.shared));
    dead->link(nullptr);
    while (dead != nullptr)
    {
        std::unique_ptr<Container> const current{dead};
        dead = current->unlink();
        for (auto& item : current->items)
        {
            if (item.m_counted && !has_bytes(item.m_type))
            {
                auto const* const shared = item.m_scalar.shared;
                item.forget();
                if (shared->drop_reference())
                {
                    auto* const inner = const_cast<Container*>(static_cast<Container const*>(shared));
                    inner->link(dead);
                    dead = inner;
                }
            }
        }
    }
}

// Type ----------------------------------------------------------------------------------------------------------------

namespace
{

/// Numbers that are no type stand for null.
ValueType known(ValueType type) noexcept
{
    auto const is_known = type <= ValueType::TimeSpan || has_names(type) || type == ValueType::Any;
    return is_known ? type : ValueType::Null;
}

} // namespace

void Value::set_type(ValueType type) noexcept
{
    Value empty;
    empty.m_type = known(type);
    if (type == ValueType::Double)
    {
        empty.m_scalar.real = 0.0;
    }
    else if (type == ValueType::Bool)
    {
        empty.m_scalar.boolean = false;
    }
    swap(empty);
}

void Value::reserve(unsigned long count)
{
    if (m_type == ValueType::Null)
    {
        set_type(ValueType::Vector);
    }
    if (!has_names(m_type) && m_type != ValueType::Vector)
    {
        return;
    }
    auto& container = own();
    container.items.reserve(count);
    if (has_names(m_type))
    {
        Detail::own_keys(container).reserve(static_cast<std::uint32_t>(std::min<unsigned long>(count, KeyTable::none)));
    }
}

bool Value::empty() const noexcept
{
    switch (m_type)
    {
    case ValueType::Bool:
    case ValueType::Int:
    case ValueType::Int64:
    case ValueType::Double:
    case ValueType::DateTime:
    case ValueType::TimeSpan:
        return false;
    case ValueType::String:
    case ValueType::Binary:
        return text() == nullptr;
    default:
        return size() == 0;
    }
}

std::size_t Value::size() const noexcept
{
    auto const* const container = m_type == ValueType::Vector ? elements() : entries();
    return container == nullptr ? 0 : container->items.size();
}

Detail::Text const* Value::text() const noexcept
{
    return m_counted && has_bytes(m_type) ? static_cast<Text const*>(m_scalar.shared) : nullptr;
}

Detail::Container const* Value::entries() const noexcept
{
    return m_counted && has_names(m_type) ? static_cast<Container const*>(m_scalar.shared) : nullptr;
}

Detail::Container const* Value::elements() const noexcept
{
    return m_counted && m_type == ValueType::Vector ? static_cast<Container const*>(m_scalar.shared) : nullptr;
}

/// The container of this map or vector, for changing: made where there is none yet, copied where others share it.
Detail::Container& Value::own()
{
    auto const* const present = m_counted ? static_cast<Container const*>(m_scalar.shared) : nullptr;
    if (present != nullptr && present->is_unique())
    {
        return const_cast<Container&>(*present);
    }
    auto fresh = std::make_unique<Container>();
    if (present != nullptr)
    {
        fresh->items = present->items;
        fresh->keys = present->keys;
    }
    else if (has_names(m_type))
    {
        fresh->keys = Detail::make_key_table();
    }
    auto& result = *fresh;
    Value(m_type, fresh.release()).swap(*this);
    return result;
}

// Text and binary data ------------------------------------------------------------------------------------------------

std::string_view Value::get_text() const noexcept
{
    auto const* const held = m_type == ValueType::String ? text() : nullptr;
    return held == nullptr ? std::string_view("") : held->view();
}

std::string_view Value::get_binary() const noexcept
{
    auto const* const held = m_type == ValueType::Binary ? text() : nullptr;
    return held == nullptr ? std::string_view("") : held->view();
}

void Value::set(char const* text)
{
    *this = Value(text);
}

void Value::set_binary(std::string_view bytes)
{
    *this = Value(ValueType::Binary, Text::make(bytes));
}

} // namespace RavikSrv
