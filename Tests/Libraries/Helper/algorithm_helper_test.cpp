#include "algorithm_helper.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace RavikSrv::Algorithm
{
namespace
{

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

TEST(Algorithm, finds_a_text_inside_at_the_start_and_at_the_end)
{
    EXPECT_TRUE(contains("aab", "ab") && contains("", "") && contains("abc", "", 3) && contains("abc", "b", 1));
    EXPECT_FALSE(contains("", "a") || contains("ab", "A") || contains("abc", "", 4) || contains("abc", "b", 2));
    EXPECT_TRUE(contains("abc", std::string("b"), 1) && !contains("abc", std::string("b"), 2));
    EXPECT_TRUE(starts_with("abab", "ab") && starts_with("ab", "ab") && starts_with("any", "") && starts_with("", ""));
    EXPECT_FALSE(starts_with("", "a") || starts_with("ab", "b") || starts_with("ab", "A") || starts_with("a", "ab"));
    EXPECT_TRUE(ends_with("abab", "ab") && ends_with("ab", "ab") && ends_with("any", "") && ends_with("", ""));
    EXPECT_FALSE(ends_with("", "b") || ends_with("ab", "a") || ends_with("ab", "B") || ends_with("b", "ab"));
    std::string text = "abab";
    EXPECT_TRUE(!remove_start(text, "b") && text == "abab");
    EXPECT_TRUE(remove_start(text, "ab") && text == "ab");
}

TEST(Algorithm, compares_bytes)
{
    EXPECT_TRUE(equals("RecipeA", "RecipeA") && equals("", ""));
    EXPECT_FALSE(equals("RecipeA", "recipea") || equals("a", "ab"));
    EXPECT_TRUE(iequals("RecipeA", "recipea") && iequals("", "") && iequals("[Z", "[z"));
    EXPECT_TRUE(iequals(std::string("a\0b", 3), "A") && iequals("A", "a\0c")) << "up to a zero byte";
    EXPECT_FALSE(iequals("a", "ab") || iequals("\xC3\xA4", "\xC3\x84") || iequals("@", "`") || iequals("[", "{"));
    EXPECT_TRUE(empty("") && !empty(" "));
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

TEST(Algorithm, to_string_is_the_conversion_to_a_text)
{
    EXPECT_TRUE(to_string(-3) == "-3" && to_string("text") == "text" && to_string(true) == "true");
    EXPECT_TRUE(to_string(Value()).empty() && to_string(Value(ValueType::Map)).empty());
}

TEST(Algorithm, value_type_to_string_is_the_type_string_with_a_capital)
{
    EXPECT_STREQ(value_type_to_string(ValueType::DateTime), "DateTime");
    EXPECT_STREQ(value_type_to_string(ValueType::TimeSpan), "TimeSpan");
    for (unsigned number = 0; number <= 300; ++number)
    {
        auto const type = static_cast<ValueType>(number);
        std::string const name = value_type_to_string(type);
        EXPECT_TRUE(type == ValueType::DateTime || iequals(name, get_type_string(type))) << number;
        EXPECT_TRUE(name[0] >= 'A' && name[0] <= 'Z');
    }
}

} // namespace
} // namespace RavikSrv::Algorithm
