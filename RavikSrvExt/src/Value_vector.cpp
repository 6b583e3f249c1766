#include "RavikSrvExt/Value.h"

#include "Storage.h"

#include <stdexcept>
#include <utility>

namespace RavikSrv
{

Value const& Value::operator[](unsigned long index) const noexcept
{
    auto const* const container = elements();
    return container == nullptr || index >= container->items.size() ? Detail::null_value() : container->items[index];
}

Value& Value::operator[](unsigned long index)
{
    if (m_type != ValueType::Vector || index >= size())
    {
        throw std::out_of_range("a vector has no element at this index");
    }
    return own().items[index];
}

VectorIterator<Value> Value::find(unsigned long index)
{
    return index < size() && m_type == ValueType::Vector ? begin_vector() + static_cast<std::ptrdiff_t>(index)
                                                         : end_vector();
}

ConstVectorIterator<Value> Value::find(unsigned long index) const noexcept
{
    return index < size() && m_type == ValueType::Vector ? begin_vector() + static_cast<std::ptrdiff_t>(index)
                                                         : end_vector();
}

VectorIterator<Value> Value::begin_vector()
{
    return VectorIterator<Value>(elements() == nullptr ? nullptr : own().items.data());
}

VectorIterator<Value> Value::end_vector()
{
    return begin_vector() + (m_type == ValueType::Vector ? static_cast<std::ptrdiff_t>(size()) : 0);
}

ConstVectorIterator<Value> Value::begin_vector() const noexcept
{
    auto const* const container = elements();
    return ConstVectorIterator<Value>(container == nullptr ? nullptr : container->items.data());
}

ConstVectorIterator<Value> Value::end_vector() const noexcept
{
    return begin_vector() + (m_type == ValueType::Vector ? static_cast<std::ptrdiff_t>(size()) : 0);
}

VectorIterator<Value> Value::insert(VectorIterator<Value> const& position, Value const& value)
{
    // The position is counted before this detaches from its copies: it points to where the elements stand now.
    auto const* const present = elements();
    auto const offset = present == nullptr ? 0 : position.operator->() - present->items.data();
    Value kept = value; // it may be an element of this very vector, or the vector itself
    if (m_type == ValueType::Null)
    {
        set_type(ValueType::Vector);
    }
    if (m_type != ValueType::Vector)
    {
        return end_vector();
    }
    auto& items = own().items;
    items.insert(items.begin() + offset, std::move(kept));
    return begin_vector() + offset;
}

Value& Value::operator<<(Value const& value)
{
    Value kept = value; // `value` may be this very vector
    if (m_type == ValueType::Null)
    {
        set_type(ValueType::Vector);
    }
    if (m_type == ValueType::Vector)
    {
        own().items.push_back(std::move(kept));
    }
    return *this;
}

bool Value::erase(unsigned long index)
{
    if (m_type != ValueType::Vector || index >= size())
    {
        return false;
    }
    auto& items = own().items;
    take_out(items, index);
    return true;
}

} // namespace RavikSrv
