#pragma once

#include "RavikSrvExt/Counted.h"
#include "RavikSrvExt/Export.h"
#include "RavikSrvExt/Iterators.h"
#include "RavikSrvExt/ValueType.h"

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace RavikSrv
{

class MapBuilder;
template <typename T> class Map;
template <typename T> class Vector;

namespace Detail
{

struct Text;
struct Container;

/// What counts the elements of a vector. Neither a truth value nor a character does.
template <typename T>
concept Index = std::integral<T> && !std::same_as<T, bool> && !std::same_as<T, char>;

/// What the typed forms of the insertions take, exactly: a literal 0 is a number there and no null pointer.
template <typename T>
concept Number = std::same_as<T, bool> || std::same_as<T, int> || std::same_as<T, long> || std::same_as<T, long long> ||
    std::same_as<T, double>;

} // namespace Detail

/// A dynamically typed value: the one kind of data that server and extensions exchange.
///
/// **Regular.** Copies are independent, equality is deep, moves never throw and leave a null value behind. A value is
/// 16 bytes: scalars are inline, text and containers are shared behind a reference count, so that a copy takes constant
/// time and allocates nothing. A mutating access first detaches the value from its copies (copy on write); reading
/// through a `Value const&` never does, so code that reads takes `Value const&`.
///
/// **References into a value.** A mutable reference, iterator or pointer into a value writes where the value stood when
/// it was taken. It is good until the value changes its entries or is copied: whoever copies a value and goes on
/// changing it takes a new one.
///
/// **Threads.** Different values may be used on different threads at the same time, also where one is a copy of the
/// other. One value is not to be changed on one thread while another thread uses it.
///
/// **Types.** `Map`, `Struct`, `Event`, `Message` and `Alarm` hold named entries in the order of their insertion; where
/// this page says "map" it means all five. `Vector` holds a list. Operations on a value of another type do what they
/// say below and never fail in undefined ways.
///
/// **Conversion** (`convert`, the `get_` functions and the explicit conversions follow one table). A conversion is
/// exact or it gives null; it never invents content:
///
/// | from \ to  | bool         | int, int64   | double       | string          | date-time, timespan |
/// |------------|--------------|--------------|--------------|-----------------|---------------------|
/// | null       | null         | null         | null         | null            | null                |
/// | bool       | itself       | 0 or 1       | 0.0 or 1.0   | "false", "true" | null                |
/// | int, int64 | of 0 and 1   | if in range  | if exact     | decimal         | as microseconds     |
/// | double     | of 0 and 1   | if integral  | itself       | shortest exact  | null                |
/// |            |              | and in range |              |                 |                     |
/// | string     | "false", "0",| of a decimal | nearest to a | itself          | of the forms below  |
/// |            | "true", "1"  | integer      | decimal      |                 |                     |
/// | date-time  | null         | microseconds | null         | ISO 8601, UTC   | itself              |
/// | timespan   | null         | microseconds | null         | ISO 8601        | itself              |
///
/// So 3.7 as int, "abc" as double, an int64 beyond 32 bits as int, the int64 2^53+1 as double and NaN as int are null;
/// "3.0", "3e0" and 3.0 as int are 3. A text may have no blank around its number and no plus before it; "inf" and
/// "nan", as which such doubles are written, are no numbers, nor is one beyond the range of double. A date-time is
/// written as 2024-05-01T12:00:00.000001Z (fraction optional, years 0000 to 9999, null for others), a timespan as
/// PT1.5S or -PT90S. The types with named entries convert into one another with their entries; a vector, a map or
/// binary data convert into nothing else, and nothing else converts into them. A conversion into `Null` or `Any` gives
/// an empty value of that type; numbers that are no type stand for `Null`.
class RAVIK_SRV_EXT_API Value
{
public:
    /// A null value.
    Value() noexcept : m_type(ValueType::Null) { m_scalar.integer = 0; }
    template <std::same_as<bool> T> Value(T value) noexcept : m_type(ValueType::Bool)
    {
        m_scalar.integer = 0;
        m_scalar.boolean = value;
    }
    Value(int value) noexcept : m_type(ValueType::Int) { m_scalar.integer = value; }
    Value(long value) noexcept : m_type(ValueType::Int64) { m_scalar.integer = value; }
    Value(long long value) noexcept : m_type(ValueType::Int64) { m_scalar.integer = value; }
    Value(double value) noexcept : m_type(ValueType::Double) { m_scalar.real = value; }
    Value(Timestamp value) noexcept : m_type(ValueType::DateTime) { m_scalar.integer = value.microseconds; }
    Value(Timespan value) noexcept : m_type(ValueType::TimeSpan) { m_scalar.integer = value.microseconds; }
    /// A copy of the text; `text` must not be null. Texts are UTF-8; the value does not check it.
    Value(char const* text);
    explicit Value(std::string_view text);
    Value(std::nullptr_t) = delete;
    /// An empty value of the type, as `set_type` makes it.
    explicit Value(ValueType type) noexcept : Value() { set_type(type); }

    Value(Value const& other) noexcept : m_scalar(other.m_scalar), m_type(other.m_type), m_counted(other.m_counted)
    {
        if (m_counted)
        {
            m_scalar.shared->add_reference();
        }
    }

    Value(Value&& other) noexcept : m_scalar(other.m_scalar), m_type(other.m_type), m_counted(other.m_counted)
    {
        other.forget();
    }

    Value& operator=(Value const& other) noexcept
    {
        Value(other).swap(*this);
        return *this;
    }

    Value& operator=(Value&& other) noexcept
    {
        Value(std::move(other)).swap(*this);
        return *this;
    }

    ~Value()
    {
        if (m_counted && m_scalar.shared->drop_reference())
        {
            destroy();
        }
    }

    void swap(Value& other) noexcept
    {
        std::swap(m_scalar, other.m_scalar);
        std::swap(m_type, other.m_type);
        std::swap(m_counted, other.m_counted);
    }

    // Type ------------------------------------------------------------------------------------------------------------

    ValueType type() const noexcept { return m_type; }
    /// Makes this an empty value of `type`: zero, false, an empty text or an empty container.
    void set_type(ValueType type) noexcept;
    /// Changes the type in place and converts the content by the table above; null where the content does not convert.
    void convert(ValueType type);
    /// Whether the value is anything but null.
    bool isset() const noexcept { return m_type != ValueType::Null; }
    /// Whether there is nothing in it: null, an empty text, empty binary data or a container without entries. A number,
    /// bool or time is never empty.
    bool empty() const noexcept;
    /// The number of entries of a map or vector, 0 for every other type.
    std::size_t size() const noexcept;

    // Scalars ---------------------------------------------------------------------------------------------------------
    // Each answers what `convert` would give, and false, 0, 0.0 or the time zero where that is null.

    bool get_bool() const;
    std::int32_t get_int32() const;
    std::int64_t get_int64() const
    {
        auto const is_integer = m_type == ValueType::Int64 || m_type == ValueType::Int;
        return is_integer ? m_scalar.integer : converted_integer();
    }
    double get_double() const { return m_type == ValueType::Double ? m_scalar.real : converted_real(); }
    Timestamp get_timestamp() const;
    Timespan get_timespan() const;
    /// The text of a string, zero-terminated, owned by this value and valid until it changes; empty for every other
    /// type (no conversion, since the text would have no owner).
    char const* get_string() const noexcept { return get_text().data(); }
    /// The same with its length. The text may hold any byte; the character behind its end is a zero.
    std::string_view get_text() const noexcept;
    /// The bytes of binary data, owned by this value; empty for every other type.
    std::string_view get_binary() const noexcept;

    template <std::same_as<bool> T> explicit operator T() const { return get_bool(); }
    explicit operator int() const { return get_int32(); }
    explicit operator double() const { return get_double(); }
    explicit operator char const*() const noexcept { return get_string(); }

    /// Makes this the text, which is copied and must not be null.
    void set(char const* text);
    void set(std::nullptr_t) = delete;
    /// Makes this binary data with a copy of `bytes`.
    void set_binary(std::string_view bytes);

    // Maps ------------------------------------------------------------------------------------------------------------
    // Names are bytes, compared exactly; a name must not be null. A look-up takes constant time.

    /// The entry, or `end()`. The mutable form detaches.
    Iterator<Value> find(char const* name);
    ConstIterator<Value> find(char const* name) const noexcept;
    /// The entry, or a null value where there is none (also where this is no map).
    Value const& operator[](char const* name) const noexcept;
    /// The entry, inserted as null where it is missing. A value that is no map becomes an empty map first.
    Value& operator[](char const* name);

    /// Inserts a new entry at the end of the map and answers its position. An entry of that name stays as it is, and
    /// its position is answered. A null value becomes a map first; on any other type nothing happens and `end()` is
    /// answered.
    Iterator<Value> insert(char const* name, Value const& value);
    template <Detail::Number T> Iterator<Value> insert(char const* name, T value) { return insert(name, Value(value)); }

    /// Inserts a new entry at the end of the map, or replaces the entry of that name in its place. Otherwise as
    /// `insert`.
    Iterator<Value> insert_or_update(char const* name, Value const& value);
    Iterator<Value> insert_or_update(char const* name, char const* text) { return insert_or_update(name, Value(text)); }
    template <Detail::Number T> Iterator<Value> insert_or_update(char const* name, T value)
    {
        return insert_or_update(name, Value(value));
    }
    Iterator<Value> insert_or_update(char const* name, std::nullptr_t) = delete;

    /// Removes the entry; answers whether there was one. Takes time linear in the entries of this map.
    bool erase(char const* name);

    /// The entries in stored order; `begin() == end()` where this is no map. The mutable forms detach.
    Iterator<Value> begin();
    Iterator<Value> end();
    ConstIterator<Value> begin() const noexcept;
    ConstIterator<Value> end() const noexcept;

    /// A view of the entries that looks up by name; empty where this is no map. Valid as long as this value stays.
    Map<Value> get_map() noexcept;
    Map<Value const> get_map() const noexcept;

    // Vectors ---------------------------------------------------------------------------------------------------------

    /// The element, or a null value where there is none (also where this is no vector).
    Value const& operator[](unsigned long index) const noexcept;
    template <Detail::Index T> Value const& operator[](T index) const noexcept { return (*this)[position(index)]; }
    /// The element; throws `std::out_of_range` where there is none, also where this is no vector.
    Value& operator[](unsigned long index);
    template <Detail::Index T> Value& operator[](T index) { return (*this)[position(index)]; }

    /// The element's position, or `end_vector()`.
    VectorIterator<Value> find(unsigned long index);
    ConstVectorIterator<Value> find(unsigned long index) const noexcept;
    template <Detail::Index T> VectorIterator<Value> find(T index) { return find(position(index)); }
    template <Detail::Index T> ConstVectorIterator<Value> find(T index) const noexcept { return find(position(index)); }

    /// The elements in order; an empty range where this is no vector. The mutable forms detach.
    VectorIterator<Value> begin_vector();
    VectorIterator<Value> end_vector();
    ConstVectorIterator<Value> begin_vector() const noexcept;
    ConstVectorIterator<Value> end_vector() const noexcept;

    /// A view of the elements that looks up by index; empty where this is no vector. Valid as long as this value stays.
    Vector<Value> get_vector() noexcept;
    Vector<Value const> get_vector() const noexcept;

    /// Inserts before `position`, an iterator of this vector, and answers the new element's position. A null value
    /// becomes a vector first (`position` is then its `end_vector()`); on any other type nothing happens.
    VectorIterator<Value> insert(VectorIterator<Value> const& position, Value const& value);
    VectorIterator<Value> insert(VectorIterator<Value> const& position, char const* text)
    {
        return insert(position, Value(text));
    }
    template <Detail::Number T> VectorIterator<Value> insert(VectorIterator<Value> const& position, T value)
    {
        return insert(position, Value(value));
    }
    VectorIterator<Value> insert(VectorIterator<Value> const& position, std::nullptr_t) = delete;
    /// Appends. A null value becomes a vector first; on any other type nothing happens.
    Value& operator<<(Value const& value);
    /// Makes room for `count` entries of a map or vector. A null value becomes a vector first; any other type ignores
    /// it.
    void reserve(unsigned long count);
    /// Removes the element; answers whether there was one.
    bool erase(unsigned long index);
    template <Detail::Index T> bool erase(T index) { return erase(position(index)); }

    // Comparison ------------------------------------------------------------------------------------------------------

    /// Deep equality of type and content: 3 and 3.0 differ in type. Maps are equal when they hold equal entries under
    /// the same names, in whatever order. A NaN equals a NaN here, so that a copy always equals its original.
    friend bool operator==(Value const& left, Value const& right) noexcept { return left.equals(right); }
    /// An order of all values that agrees with `==`: by type, then by content; containers by size first, then entry by
    /// entry (maps in the order of their names); NaN stands behind all numbers. Both comparisons take time in
    /// proportion to the content (maps are sorted by name for the order) and stack in proportion to its depth.
    friend std::weak_ordering operator<=>(Value const& left, Value const& right) { return left.compare(right); }

private:
    friend class MapBuilder;
    friend class Map<Value>;
    friend class Map<Value const>;

    union Scalar
    {
        bool boolean;
        std::int64_t integer;
        double real;
        Detail::Counted const* shared;
    };

    /// No vector is so long that it has an element at the position that a negative index gives.
    template <Detail::Index T> static unsigned long position(T index) noexcept
    {
        return static_cast<unsigned long>(index);
    }

    void forget() noexcept
    {
        m_scalar.integer = 0;
        m_type = ValueType::Null;
        m_counted = false;
    }

    Value(ValueType type, Detail::Counted const* shared) noexcept : m_type(type), m_counted(shared != nullptr)
    {
        m_scalar.shared = shared;
    }

    void destroy() noexcept;
    Detail::Text const* text() const noexcept;
    Detail::Container const* entries() const noexcept;
    Detail::Container const* elements() const noexcept;
    Detail::Container& own();
    Value converted(ValueType type) const;
    std::int64_t converted_integer() const;
    double converted_real() const;
    Value const* entry(char const* name) const noexcept;
    Value* entry(char const* name);
    std::uint32_t ensure(char const* name, Value const& value);
    static void take_out(std::vector<Value>& items, std::size_t position) noexcept;
    bool equals(Value const& other) const noexcept;
    std::weak_ordering compare(Value const& other) const;

    Scalar m_scalar;
    ValueType m_type;
    bool m_counted = false;
};

static_assert(sizeof(Value) == 16);

inline void swap(Value& left, Value& right) noexcept
{
    left.swap(right);
}

/// A view of a map that looks up by name; `T` is `Value`, or `Value const` for the read-only view. It refers to the
/// value that it was taken from.
template <typename T> class Map
{
public:
    explicit Map(T& value) noexcept : m_value(&value) {}

    /// The entry, null where there is none; points into the map until the map changes. The mutable form detaches.
    T* get(char const* name) const { return m_value->entry(name); }

private:
    T* m_value;
};

/// A view of a vector that looks up by index; otherwise as `Map`.
template <typename T> class Vector
{
public:
    explicit Vector(T& value) noexcept : m_value(&value) {}

    /// The element, null where there is none; points into the vector until the vector changes.
    T* get(unsigned long index) const
    {
        auto const found = m_value->find(index);
        return found == m_value->end_vector() ? nullptr : &*found;
    }

private:
    T* m_value;
};

inline Map<Value> Value::get_map() noexcept
{
    return Map<Value>(*this);
}

inline Map<Value const> Value::get_map() const noexcept
{
    return Map<Value const>(*this);
}

inline Vector<Value> Value::get_vector() noexcept
{
    return Vector<Value>(*this);
}

inline Vector<Value const> Value::get_vector() const noexcept
{
    return Vector<Value const>(*this);
}

} // namespace RavikSrv
