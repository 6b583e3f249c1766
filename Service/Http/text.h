#pragma once

#include <algorithm>
#include <string>
#include <string_view>

/// ASCII, as the fields of HTTP are made of.
namespace Ravik::Service
{

constexpr char lower_case(char character) noexcept
{
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

inline std::string lower_case(std::string_view text)
{
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), [](char each) { return lower_case(each); });
    return result;
}

inline bool equals_ignoring_case(std::string_view left, std::string_view right) noexcept
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return lower_case(a) == lower_case(b); });
}

/// The text without the blanks and tabulators around it.
constexpr std::string_view trimmed(std::string_view text) noexcept
{
    constexpr std::string_view blanks = " \t";
    auto const first = text.find_first_not_of(blanks);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

} // namespace Ravik::Service
