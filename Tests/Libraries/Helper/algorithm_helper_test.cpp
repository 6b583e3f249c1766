#include "algorithm_helper.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Ravik::Test
{
namespace
{

using namespace RavikSrv;
using namespace RavikSrv::Algorithm;

TEST(Algorithm, split_symbol_name_takes_a_name_apart_at_the_separators)
{
    for (auto const& [name, parts] : std::vector<std::pair<char const*, std::vector<std::string>>>{
             {"", {}},
             {"recipeList::F::R", {"recipeList", "F", "R"}},
             {"a.b[3]:c", {"a.b[3]:c"}},
             {":", {":"}},
             {"::", {"", ""}},
             {":::", {"", "", ""}},
             {"::::", {"", "", "", ""}},
             {"a:::b:c::", {"a", "", "b:c", ""}},
             {"a[x::y]", {"a[x", "y]"}},
         })
    {
        EXPECT_EQ(split_symbol_name(name), parts) << name;
    }
}

TEST(Algorithm, replace_changes_the_first_occurrence_only)
{
    auto const replaced = [](std::string text, std::string const& from, std::string const& to)
    { return replace(text, from, to) ? text : "not found in " + text; };
    EXPECT_EQ(replaced("x::A::A", "A", "B"), "x::B::A");
    EXPECT_EQ(replaced("aa", "a", "aa"), "aaa");
    EXPECT_EQ(replaced("ab", "", "z"), "zab");
    EXPECT_EQ(replaced("", "", "z"), "not found in ");
    EXPECT_EQ(replaced("ab", "abc", "z"), "not found in ab");
    EXPECT_EQ(replaced("ab", "B", "z"), "not found in ab");
}

TEST(Algorithm, finds_and_compares_texts_byte_by_byte)
{
    EXPECT_TRUE(contains("aab", "ab") && contains("abc", "", 3) && !contains("abc", "", 4) && !contains("ab", "A"));
    EXPECT_TRUE(contains("abc", std::string("b"), 1) && !contains("abc", std::string("b"), 2));
    EXPECT_TRUE(starts_with("abab", "ab") && starts_with("", "") && !starts_with("ab", "A") && !starts_with("a", "ab"));
    EXPECT_TRUE(ends_with("abab", "ab") && ends_with("", "") && !ends_with("ab", "B") && !ends_with("b", "ab"));
    EXPECT_TRUE(equals("RecipeA", "RecipeA") && !equals("RecipeA", "recipea") && !equals("a", "ab"));
    EXPECT_TRUE(iequals("RecipeA", "recipea") && !iequals("a", "ab") && !iequals("\xC3\xA4", "\xC3\x84"));
    EXPECT_TRUE(!iequals("@", "`") && !iequals("[", "{") && iequals(std::string("a\0b", 3), "A\0c"));
    EXPECT_TRUE(empty("") && !empty(" "));
    std::string text = "abab";
    EXPECT_TRUE(!remove_start(text, "b") && text == "abab");
    EXPECT_TRUE(remove_start(text, "ab") && text == "ab");
}

TEST(Algorithm, try_as_size_t_reads_digits_alone)
{
    std::size_t number = 7;
    for (auto const* const text : {"", " 1", "1 ", "-1", "+1", "1.0", "0x1", "a", "18446744073709551616"})
    {
        EXPECT_TRUE(!try_as_size_t(text, number) && number == 7) << text;
    }
    for (auto const* const text : {"0", "10", "007", "18446744073709551615"})
    {
        EXPECT_TRUE(try_as_size_t(text, number) && number == std::stoull(text)) << text;
    }
}

TEST(Algorithm, values_and_their_types_have_texts)
{
    EXPECT_TRUE(to_string(-3) == "-3" && to_string("text") == "text" && to_string(true) == "true");
    EXPECT_TRUE(to_string(Value()).empty() && to_string(Value(ValueType::Map)).empty());
    EXPECT_STREQ(value_type_to_string(ValueType::DateTime), "DateTime");
    for (unsigned number = 0; number <= 300; ++number)
    {
        auto const type = static_cast<ValueType>(number);
        std::string const name = value_type_to_string(type);
        EXPECT_TRUE(type == ValueType::DateTime || iequals(name, get_type_string(type))) << number;
        EXPECT_TRUE(name[0] >= 'A' && name[0] <= 'Z');
    }
}

} // namespace
} // namespace Ravik::Test
