#pragma once

#include "Schema/WorkBudget.h"

#include "RavikSrvExtApi.h"

#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Ravik::Schema
{

/// The kinds of JSON that values are seen as. `NONE` is a value without content that is no null.
enum class JsonType
{
    NONE,
    NIL,
    BOOLEAN,
    NUMBER,
    STRING,
    ARRAY,
    OBJECT,
};

JsonType json_type(RavikSrv::Value const& value) noexcept;

/// The text of a value that counts as a string; holds it as long as it is needed.
class TextOf
{
public:
    explicit TextOf(RavikSrv::Value const& value);

    std::string_view view() const noexcept
    {
        return m_text.type() == RavikSrv::ValueType::Binary ? m_text.get_binary() : m_text.get_text();
    }
    /// In characters, for binary data in bytes.
    std::size_t length() const noexcept;

private:
    RavikSrv::Value m_text;
};

/// A hash that is the same for values that are equal as JSON (3 and 3.0 are), another one in each process. Charges the
/// budget for the value's size and throws a `SchemaFailure` where the value is too large or nested too deeply.
std::uint64_t json_hash(RavikSrv::Value const& value, WorkBudget& budget);

/// Whether two values are equal as JSON. Both must have passed `json_hash`, which limits their depth.
bool json_equal(RavikSrv::Value const& left, RavikSrv::Value const& right, WorkBudget& budget);

/// Values that are looked up by JSON equality.
class ValueSet
{
public:
    void insert(RavikSrv::Value const& value, WorkBudget& budget);
    bool contains(RavikSrv::Value const& value, WorkBudget& budget) const;
    /// All that was inserted, in order.
    std::vector<RavikSrv::Value> const& values() const noexcept { return m_values; }

private:
    std::vector<RavikSrv::Value> m_values;
    std::unordered_multimap<std::uint64_t, std::size_t> m_positions;
};

} // namespace Ravik::Schema
