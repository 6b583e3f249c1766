#include "History/shell_word.h"

#include <boost/algorithm/string/replace.hpp>

#include <algorithm>
#include <string_view>

namespace Ravik
{

namespace
{

bool is_plain(char character)
{
    constexpr std::string_view others = "/._-+,:@%";
    return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'z') ||
           (character >= 'A' && character <= 'Z') || others.find(character) != std::string_view::npos;
}

} // namespace

std::string shell_word(std::string const& text)
{
    if (!text.empty() && std::all_of(text.begin(), text.end(), is_plain))
    {
        return text;
    }
    return "'" + boost::replace_all_copy(text, "'", "'\\''") + "'";
}

} // namespace Ravik
