#pragma once

#include "RavikSrvExt/Key.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <iterator>

#include <type_traits>

namespace RavikSrv
{

namespace Detail
{

/// Walks a map in its stored order; `T` is the entry's type, const for the read-only walk.
template <typename T> class BasicMapIterator
{
public:
    BasicMapIterator() = default;
    BasicMapIterator(Key const* key, T* entry) noexcept : m_key(key), m_entry(entry) {}

    /// A mutable iterator reads as well.
    template <typename U>
    requires std::is_same_v<U const, T> BasicMapIterator(BasicMapIterator<U> const& other)
    noexcept : m_key(other.key()), m_entry(other.operator->()) {}

    /// The entry's key, zero-terminated; owned by the map and valid until the map changes its keys.
    char const* name() const noexcept { return m_key->c_str(); }
    T& operator*() const noexcept { return *m_entry; }
    T* operator->() const noexcept { return m_entry; }

    BasicMapIterator& operator++() noexcept
    {
        ++m_key;
        ++m_entry;
        return *this;
    }

    BasicMapIterator operator++(int) noexcept
    {
        BasicMapIterator before = *this;
        ++*this;
        return before;
    }

    friend bool operator==(BasicMapIterator const& left, BasicMapIterator const& right) noexcept
    {
        return left.m_entry == right.m_entry;
    }

    Key const* key() const noexcept { return m_key; }

private:
    Key const* m_key = nullptr;
    T* m_entry = nullptr;
};

/// Walks a contiguous list; `T` is the element's type, const for the read-only walk.
template <typename T> class BasicVectorIterator
{
public:
    using iterator_category = std::random_access_iterator_tag;
    using value_type = std::remove_const_t<T>;
    using difference_type = std::ptrdiff_t;
    using pointer = T*;
    using reference = T&;

    BasicVectorIterator() = default;
    explicit BasicVectorIterator(T* element) noexcept : m_element(element) {}

    /// A mutable iterator reads as well.
    template <typename U>
    requires std::is_same_v<U const, T> BasicVectorIterator(BasicVectorIterator<U> const& other)
    noexcept : m_element(other.operator->()) {}

    T& operator*() const noexcept { return *m_element; }
    T* operator->() const noexcept { return m_element; }

    BasicVectorIterator& operator++() noexcept
    {
        ++m_element;
        return *this;
    }

    BasicVectorIterator operator++(int) noexcept { return BasicVectorIterator(m_element++); }

    BasicVectorIterator& operator--() noexcept
    {
        --m_element;
        return *this;
    }

    BasicVectorIterator operator--(int) noexcept { return BasicVectorIterator(m_element--); }

    BasicVectorIterator& operator+=(difference_type count) noexcept
    {
        m_element += count;
        return *this;
    }

    friend BasicVectorIterator operator+(BasicVectorIterator iterator, difference_type count) noexcept
    {
        return BasicVectorIterator(iterator.m_element + count);
    }

    friend difference_type operator-(BasicVectorIterator left, BasicVectorIterator right) noexcept
    {
        return left.m_element - right.m_element;
    }

    friend bool operator==(BasicVectorIterator left, BasicVectorIterator right) noexcept = default;
    friend auto operator<=>(BasicVectorIterator left, BasicVectorIterator right) noexcept = default;

private:
    T* m_element = nullptr;
};

} // namespace Detail

/// Iterators of a map: `name()` gives the key, `*` and `->` the entry. Taking a mutable iterator from a value detaches
/// the value from its copies. Any change of the map's entries invalidates them.
template <typename T> using Iterator = Detail::BasicMapIterator<T>;
template <typename T> using ConstIterator = Detail::BasicMapIterator<T const>;

/// Iterators of a vector or of the commands of a group. Inserting and removing invalidates them.
template <typename T> using VectorIterator = Detail::BasicVectorIterator<T>;
template <typename T> using ConstVectorIterator = Detail::BasicVectorIterator<T const>;

} // namespace RavikSrv
