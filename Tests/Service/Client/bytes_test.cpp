#include "Client/BrokenMessage.h"
#include "Client/ByteReader.h"
#include "Client/ByteWriter.h"

#include "RavikSrvExt/MapBuilder.h"

#include <gtest/gtest.h>

#include <bit>
#include <limits>
#include <string>

namespace Ravik::Test
{

namespace
{

using RavikSrv::Value;
using RavikSrv::ValueType;
using Wire::BrokenMessage;
using Wire::ByteReader;
using Wire::ByteWriter;

std::string written(Value const& value)
{
    ByteWriter writer;
    writer.value(value);
    return writer.bytes();
}

Value read_back(std::string const& bytes)
{
    ByteReader reader(bytes);
    auto value = reader.value();
    reader.expect_end();
    return value;
}

template <typename... Elements> Value vector_of(Elements const&... elements)
{
    Value vector(ValueType::Vector);
    (vector << ... << Value(elements));
    return vector;
}

Value map_of(ValueType type, std::initializer_list<std::pair<char const*, Value>> entries)
{
    Value map(type);
    for (auto const& [name, value] : entries)
    {
        map.insert(name, value);
    }
    return map;
}

/// Everything at once.
Value everything()
{
    Value bytes(ValueType::Binary);
    bytes.set_binary(std::string_view("\0\xFF\x80", 3));
    auto const recipe = [](double speed) {
        return map_of(ValueType::Map,
                      {{"recipeTypeName", "T"}, {"values", map_of(ValueType::Map, {{"Speed", speed}})}});
    };
    auto whole = map_of(ValueType::Struct, {{"z", 1}, {"a", true}, {"", false}, {"ä b", Value()}});
    whole.insert("numbers", vector_of(0, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max(), 3L,
                                      std::numeric_limits<long>::min(), std::numeric_limits<long>::max(), 3.0, -0.0,
                                      0.1, std::numeric_limits<double>::infinity(), 5e-324));
    whole.insert("texts", vector_of("", "ß", std::string_view("a\0b", 3), bytes));
    whole.insert("times", vector_of(RavikSrv::Timestamp{-1}, RavikSrv::Timespan{1L << 60U}));
    whole.insert("empty", vector_of(Value(ValueType::Vector), Value(ValueType::Map), Value(ValueType::Struct),
                                    Value(ValueType::Any), Value(ValueType::Binary)));
    whole.insert("named", vector_of(map_of(ValueType::Event, {{"e", 1}}), map_of(ValueType::Message, {{"m", 1}}),
                                    map_of(ValueType::Alarm, {{"a", 1}})));
    whole.insert("recipes", map_of(ValueType::Map, {{"A", recipe(1)}, {"B", recipe(2)}, {"C", Value(7)}}));
    return whole;
}

TEST(Bytes, carry_every_value_exactly)
{
    auto const whole = everything();
    auto const back = read_back(written(whole));
    EXPECT_EQ(back, whole);
    // The order of entries, which counts for nothing in a comparison, and the sign of a zero.
    EXPECT_EQ(written(back), written(whole));

    auto const odd = std::bit_cast<double>(0xFFF4'0000'0000'0001ULL);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(read_back(written(Value(odd))).get_double()), 0xFFF4'0000'0000'0001ULL);
}

TEST(Bytes, that_are_cut_or_changed_are_an_error_or_another_value)
{
    auto const whole = written(everything());
    for (std::size_t size = 0; size < whole.size(); ++size)
    {
        // In memory of their own, where reading too far is found.
        EXPECT_THROW(read_back(std::string(whole, 0, size)), BrokenMessage) << size;
    }
    for (std::size_t position = 0; position < whole.size(); ++position)
    {
        for (unsigned change : {0x01U, 0x80U, 0xFFU})
        {
            auto changed = whole;
            changed[position] = static_cast<char>(static_cast<unsigned char>(changed[position]) ^ change);
            try
            {
                read_back(changed);
            }
            catch (BrokenMessage const&)
            {
            }
        }
    }
}

TEST(Bytes, that_promise_too_much_are_refused)
{
    struct Case
    {
        char const* what;
        std::string bytes;
    };
    auto const type = [](ValueType value) { return std::string(1, static_cast<char>(value)); };
    std::string const endless("\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x01", 10);
    std::string deep;
    for (int depth = 0; depth < 100'000; ++depth)
    {
        deep += type(ValueType::Vector) + '\1';
    }
    for (auto const& [what, bytes] : {
             Case{"no type", "\x0D"},
             Case{"a text of 2^64 bytes", type(ValueType::String) + endless},
             Case{"a list of 2^64 values", type(ValueType::Vector) + endless + "\1"},
             Case{"a list of more than can follow", type(ValueType::Vector) + "\x05" + std::string(4, '\0')},
             Case{"a number of 65 bits", type(ValueType::Int64) + std::string(9, '\xFF') + '\x02'},
             Case{"an int of 33 bits", type(ValueType::Int) + "\x80\x80\x80\x80\x10"},
             Case{"a bool that is neither", type(ValueType::Bool) + '\2'},
             Case{"deep nesting", deep + '\0'},
             Case{"a name twice", type(ValueType::Map) + "\2\1a" + '\0' + "\1a" + '\0'},
             Case{"a name that ends early", type(ValueType::Map) + "\1\2a" + std::string(2, '\0')},
             Case{"more than a value", std::string(2, '\0')},
         })
    {
        EXPECT_THROW(read_back(bytes), BrokenMessage) << what;
    }
    Value nested;
    for (int depth = 0; depth <= Wire::deepest_value; ++depth)
    {
        EXPECT_EQ(read_back(written(nested)), nested);
        nested = vector_of(nested);
    }
    EXPECT_THROW(written(nested), BrokenMessage);
}

} // namespace

} // namespace Ravik::Test
