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
    std::vector<std::pair<char const*, std::vector<std::string>>> const names{
        {"", {}},
        {"a", {"a"}},
        {"recipeList::F::R", {"recipeList", "F", "R"}},
        {"a.b[3]", {"a.b[3]"}},
        {"a:b", {"a:b"}},
        {":", {":"}},
        {"a::", {"a", ""}},
        {"::a", {"", "a"}},
        {"::", {"", ""}},
        {":::", {"", "", ""}},
        {"::::", {"", "", "", ""}},
        {"a:::b", {"a", "", "b"}},
        {"a:::b:c::", {"a", "", "b:c", ""}},
        {"a[x::y]", {"a[x", "y]"}},
    };
    for (auto const& [name, parts] : names)
    {
        EXPECT_EQ(split_symbol_name(name), parts) << name;
    }
}

TEST(Algorithm, replace_changes_the_first_occurrence_only)
{
    struct Case
    {
        std::string text, from, to, expected;
        bool replaced;
    };
    for (auto const& [text, from, to, expected, replaced] : std::vector<Case>{
             {"x::A::A", "A", "B", "x::B::A", true},
             {"", "", "z", "", false},
             {"", "a", "z", "", false},
             {"ab", "", "z", "zab", true},
             {"ab", "abc", "z", "ab", false},
             {"ab", "B", "z", "ab", false},
             {"recipeList::R", "recipeList::", "", "R", true},
             {"aa", "a", "aa", "aaa", true},
         })
    {
        auto changed = text;
        EXPECT_EQ(replace(changed, from, to), replaced) << text;
        EXPECT_EQ(changed, expected);
    }
    std::string itself = "abab";
    EXPECT_TRUE(replace(itself, itself, itself));
    EXPECT_EQ(itself, "abab");
}

TEST(Algorithm, contains_searches_from_a_position)
{
    struct Case
    {
        std::string text, needle;
        unsigned start;
        bool found;
    };
    for (auto const& [text, needle, start, found] : std::vector<Case>{
             {"recipeTypeList::AB", "recipeTypeList::A", 0, true},
             {"abc", "", 3, true},
             {"abc", "", 4, false},
             {"abc", "b", 4, false},
             {"abc", "b", 1, true},
             {"abc", "b", 2, false},
             {"abc", "B", 0, false},
             {"", "", 0, true},
             {"", "a", 0, false},
             {"aab", "ab", 0, true},
             {"abc", "abcd", 0, false},
             {"abc", "c", ~0U, false},
         })
    {
        EXPECT_EQ(contains(text, needle, start), found) << text << " " << needle << " " << start;
        EXPECT_EQ(contains(text, needle.c_str(), start), found);
    }
    EXPECT_TRUE(contains("abc", "bc"));
}

TEST(Algorithm, starts_ends_and_removes)
{
    struct Case
    {
        std::string text, affix;
        bool starts, ends;
    };
    for (auto const& [text, affix, starts, ends] : std::vector<Case>{
             {"recipeTypeList", "recipeTypeList", true, true},
             {"recipeList", "recipeTypeList", false, false},
             {"any", "", true, true},
             {"", "", true, true},
             {"", "a", false, false},
             {"abab", "ab", true, true},
             {"ab", "a", true, false},
             {"ab", "b", false, true},
             {"ab", "A", false, false},
         })
    {
        EXPECT_EQ(starts_with(text, affix), starts) << text << " " << affix;
        EXPECT_EQ(ends_with(text, affix), ends) << text << " " << affix;
        auto rest = text;
        EXPECT_EQ(remove_start(rest, affix), starts);
        EXPECT_EQ(rest, starts ? text.substr(affix.size()) : text);
    }
}

TEST(Algorithm, compares_bytes)
{
    EXPECT_TRUE(equals("RecipeA", "RecipeA") && equals("", ""));
    EXPECT_FALSE(equals("RecipeA", "recipea") || equals("a", "ab"));
    EXPECT_TRUE(iequals("RecipeA", "recipea") && iequals("", "") && iequals("[Z", "[z"));
    EXPECT_FALSE(iequals("a", "ab") || iequals("\xC3\xA4", "\xC3\x84") || iequals("@", "`") || iequals("[", "{"));
    EXPECT_TRUE(empty(""));
    EXPECT_FALSE(empty(" "));
}

TEST(Algorithm, try_as_size_t_reads_digits_alone)
{
    for (auto const* const text : {"", " 1", "1 ", "-1", "+1", "1.0", "0x1", "a", "18446744073709551616"})
    {
        std::size_t number = 7;
        EXPECT_FALSE(try_as_size_t(text, number)) << text;
        EXPECT_EQ(number, 7U);
    }
    for (auto const* const text : {"0", "10", "007", "18446744073709551615"})
    {
        std::size_t number = 7;
        EXPECT_TRUE(try_as_size_t(text, number));
        EXPECT_EQ(number, std::stoull(text));
    }
}

TEST(Algorithm, to_string_converts_a_copy)
{
    for (auto const& [value, text] : std::vector<std::pair<Value, std::string>>{
             {Value(), ""}, {true, "true"}, {-3, "-3"}, {2.5, "2.5"}, {"text", "text"}, {Value(ValueType::Map), ""}})
    {
        auto const type = value.type();
        EXPECT_EQ(to_string(value), text);
        EXPECT_EQ(value.type(), type);
    }
}

TEST(Algorithm, value_type_to_string_is_the_type_string_with_a_capital)
{
    for (unsigned number = 0; number <= 300; ++number)
    {
        std::string const name = value_type_to_string(static_cast<ValueType>(number));
        auto const expected = number == 10 ? "date-time" : number == 11 ? "timespan" : name.c_str();
        EXPECT_TRUE(number == 10 ? name == "DateTime"
                                 : iequals(get_type_string(static_cast<ValueType>(number)), expected));
        EXPECT_TRUE(name[0] >= 'A' && name[0] <= 'Z');
    }
    EXPECT_EQ(value_type_to_string(ValueType::TimeSpan), std::string("TimeSpan"));
}

} // namespace

} // namespace RavikSrv::Algorithm
