#include "Json/exact_reading.h"

#include "Json/Json.h"
#include "Json/Scanner.h"
#include "Json/syntax_error.h"

#include "RavikSrvExt/MapBuilder.h"

#include <boost/json/basic_parser_impl.hpp>

#include <bitset>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Ravik::Json
{

using boost::json::error_code;
using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

/// Why the handler stopped the parser, and where to point to.
struct Fault
{
    enum class Position
    {
        /// `count` bytes before the parser's position
        Before,
        /// at the key that is the `count`-th of the whole text, from 0
        Key,
        /// at the escape before the parser's position that stands for U+0000
        ZeroEscape,
    };

    std::string message;
    Position position = Position::Before;
    std::size_t count = 0;
};

std::string in_quotes(std::string_view text)
{
    return write(Value(text));
}

/// What the parser calls for each piece of text. Values wait on one stack until the object or array that they belong to
/// is complete, and are then moved into a container of exactly their number.
class Builder
{
public:
    static constexpr std::size_t max_object_size = std::numeric_limits<std::size_t>::max();
    static constexpr std::size_t max_array_size = max_object_size;
    static constexpr std::size_t max_key_size = max_object_size;
    static constexpr std::size_t max_string_size = max_object_size;

    Value take_result() { return std::move(m_pending.back().value); }
    std::optional<Fault> const& fault() const noexcept { return m_fault; }

    bool on_document_begin(error_code& /*error*/) { return true; }
    bool on_document_end(error_code& /*error*/) { return true; }

    bool on_object_begin(error_code& /*error*/) { return begin(true); }
    bool on_object_end(std::size_t count, error_code& error);
    bool on_array_begin(error_code& /*error*/) { return begin(false); }
    bool on_array_end(std::size_t count, error_code& error);

    bool on_key_part(boost::json::string_view part, std::size_t total, error_code& error);
    bool on_key(boost::json::string_view part, std::size_t total, error_code& error);
    bool on_string_part(boost::json::string_view part, std::size_t total, error_code& error);
    bool on_string(boost::json::string_view part, std::size_t total, error_code& error);

    // The parser's own numbers are not exact, so only the digits count.
    bool on_number_part(boost::json::string_view part, error_code& error);
    bool on_int64(std::int64_t number, boost::json::string_view part, error_code& error);
    bool on_uint64(std::uint64_t number, boost::json::string_view part, error_code& error);
    bool on_double(double number, boost::json::string_view part, error_code& error);

    bool on_bool(bool value, error_code& /*error*/) { return add(Value(value)); }
    bool on_null(error_code& /*error*/) { return add(Value()); }
    bool on_comment_part(boost::json::string_view /*part*/, error_code& /*error*/) { return true; }
    bool on_comment(boost::json::string_view /*part*/, error_code& /*error*/) { return true; }

private:
    /// A value whose container is not complete; the name of an entry stands in `m_names`.
    struct Pending
    {
        Value value;
        std::size_t name_begin = 0;
        std::size_t name_size = 0;
        std::size_t key_number = 0;
    };

    bool begin(bool is_object);
    bool add(Value&& value);
    bool fail(Fault fault, error_code& error);
    bool check_zero(std::string_view part, error_code& error);
    bool add_number(double approximation, boost::json::string_view part, error_code& error);
    bool add_integer(std::string_view digits, error_code& error);
    bool add_double(std::string_view digits, double approximation, error_code& error);
    std::string_view name_of(Pending const& entry) const noexcept;

    std::vector<Pending> m_pending;
    std::string m_names;
    /// The parts of a text or number that did not come in one piece.
    std::string m_parts;
    std::size_t m_key_count = 0;
    std::size_t m_depth = 0;
    /// For each level that is open, the outermost at 1, whether it is an object.
    std::bitset<max_nesting + 1> m_is_object;
    std::optional<Fault> m_fault;
};

bool Builder::begin(bool is_object)
{
    m_is_object[++m_depth] = is_object;
    return true;
}

bool Builder::add(Value&& value)
{
    if (m_is_object[m_depth])
    {
        m_pending.back().value = std::move(value); // its key has pushed the entry
    }
    else
    {
        m_pending.push_back({.value = std::move(value)});
    }
    return true;
}

bool Builder::fail(Fault fault, error_code& error)
{
    m_fault = std::move(fault);
    error = boost::json::error::input_error;
    return false;
}

std::string_view Builder::name_of(Pending const& entry) const noexcept
{
    return std::string_view(m_names).substr(entry.name_begin, entry.name_size);
}

bool Builder::on_object_end(std::size_t count, error_code& error)
{
    --m_depth;
    if (count == 0)
    {
        return add(Value(ValueType::Map));
    }
    auto const first = m_pending.size() - count;
    RavikSrv::MapBuilder map;
    for (auto entry = first; entry < m_pending.size(); ++entry)
    {
        auto& pending = m_pending[entry];
        if (!map.insert(name_of(pending), std::move(pending.value)))
        {
            auto message = "the key " + in_quotes(name_of(pending)) + " stands twice in one object";
            return fail({std::move(message), Fault::Position::Key, pending.key_number}, error);
        }
    }
    m_names.resize(m_pending[first].name_begin);
    m_pending.resize(first);
    return add(map.finish());
}

bool Builder::on_array_end(std::size_t count, error_code& /*error*/)
{
    --m_depth;
    Value vector(ValueType::Vector);
    if (count > 0)
    {
        vector.reserve(count);
        auto const first = m_pending.size() - count;
        for (auto element = first; element < m_pending.size(); ++element)
        {
            vector << m_pending[element].value;
        }
        m_pending.resize(first);
    }
    return add(std::move(vector));
}

bool Builder::check_zero(std::string_view part, error_code& error)
{
    return part.find('\0') == std::string_view::npos ||
           fail({"a text or key may not hold U+0000", Fault::Position::ZeroEscape, 0}, error);
}

bool Builder::on_key_part(boost::json::string_view part, std::size_t /*total*/, error_code& error)
{
    m_names.append(part.data(), part.size());
    return check_zero({part.data(), part.size()}, error);
}

bool Builder::on_key(boost::json::string_view part, std::size_t total, error_code& error)
{
    if (!on_key_part(part, total, error))
    {
        return false;
    }
    m_pending.push_back({Value(), m_names.size() - total, total, m_key_count});
    ++m_key_count;
    return true;
}

bool Builder::on_string_part(boost::json::string_view part, std::size_t /*total*/, error_code& error)
{
    m_parts.append(part.data(), part.size());
    return check_zero({part.data(), part.size()}, error);
}

bool Builder::on_string(boost::json::string_view part, std::size_t total, error_code& error)
{
    if (m_parts.empty())
    {
        return check_zero({part.data(), part.size()}, error) && add(Value(std::string_view(part.data(), part.size())));
    }
    if (!on_string_part(part, total, error))
    {
        return false;
    }
    Value text{std::string_view(m_parts)};
    m_parts.clear();
    return add(std::move(text));
}

bool Builder::on_number_part(boost::json::string_view part, error_code& /*error*/)
{
    m_parts.append(part.data(), part.size());
    return true;
}

bool Builder::on_int64(std::int64_t /*number*/, boost::json::string_view part, error_code& error)
{
    return add_number(0.0, part, error);
}

bool Builder::on_uint64(std::uint64_t /*number*/, boost::json::string_view part, error_code& error)
{
    return add_number(0.0, part, error);
}

bool Builder::on_double(double number, boost::json::string_view part, error_code& error)
{
    return add_number(number, part, error);
}

bool Builder::add_number(double approximation, boost::json::string_view part, error_code& error)
{
    m_parts.append(part.data(), part.size());
    auto const is_double = m_parts.find_first_of(".eE") != std::string::npos;
    auto const added = is_double ? add_double(m_parts, approximation, error) : add_integer(m_parts, error);
    m_parts.clear();
    return added;
}

bool Builder::add_integer(std::string_view digits, error_code& error)
{
    std::int64_t number = 0;
    auto const result = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (result.ec != std::errc())
    {
        return fail({"the integer is beyond the range of 64 bits", Fault::Position::Before, digits.size()}, error);
    }
    auto const narrow = static_cast<std::int32_t>(number);
    return add(narrow == number ? Value(narrow) : Value(number));
}

bool Builder::add_double(std::string_view digits, double approximation, error_code& error)
{
    double number = 0.0;
    auto const result = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (result.ec != std::errc())
    {
        if (std::abs(approximation) > 1.0)
        {
            return fail({"the number is too large for a double", Fault::Position::Before, digits.size()}, error);
        }
        number = std::copysign(0.0, approximation); // nearer to zero than any other double
    }
    return add(Value(number));
}

/// Where the key that is the `number`-th of the text begins. The text is JSON up to the end of its object.
std::size_t offset_of_key(std::string_view text, std::size_t number)
{
    Scanner scanner(text);
    while (scanner.position() < text.size())
    {
        auto const position = scanner.position();
        if (scanner.peek() != '"')
        {
            scanner.skip_token();
            continue;
        }
        scanner.skip_text();
        if (scanner.peek() == ':' && number-- == 0)
        {
            return position;
        }
    }
    return text.size();
}

/// Where the last \u0000 in front of `end` begins. A backslash that a backslash escapes begins no escape.
std::size_t offset_of_zero_escape(std::string_view text, std::size_t end)
{
    for (auto position = text.rfind("\\u0000", end); position != std::string_view::npos && position > 0;
         position = text.rfind("\\u0000", position - 1))
    {
        auto const before = text.find_last_not_of('\\', position - 1);
        if (before != std::string_view::npos && (position - before) % 2 == 1)
        {
            return position;
        }
    }
    return end;
}

ParseError fault_error(std::string_view text, std::size_t offset, Fault const& fault)
{
    switch (fault.position)
    {
    case Fault::Position::Key:
        offset = offset_of_key(text, fault.count);
        break;
    case Fault::Position::ZeroEscape:
        offset = offset_of_zero_escape(text, offset);
        break;
    case Fault::Position::Before:
        offset -= fault.count;
        break;
    }
    return {location_of(text, offset), fault.message};
}

} // namespace

Value read_exactly(std::string_view text)
{
    boost::json::parse_options options;
    options.max_depth = max_nesting;
    boost::json::basic_parser<Builder> parser(options);
    error_code error;
    auto const consumed = parser.write_some(false, text.data(), text.size(), error);
    if (auto const& fault = parser.handler().fault())
    {
        throw fault_error(text, consumed, *fault);
    }
    if (error)
    {
        throw syntax_error(text, consumed, error);
    }
    if (consumed < text.size())
    {
        throw trailing_text_error(text, consumed);
    }
    return parser.handler().take_result();
}

} // namespace Ravik::Json
