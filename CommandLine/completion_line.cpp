#include "completion_line.h"

#include <utility>

namespace Ravik::CommandLine
{

PartialLine split_line(std::string_view line)
{
    PartialLine result;
    auto has_begun = false;
    char quote = 0;
    for (std::size_t position = 0; position < line.size(); ++position)
    {
        auto const character = line[position];
        if (quote == 0 && (character == ' ' || character == '\t'))
        {
            if (has_begun)
            {
                result.words.push_back(std::exchange(result.last, {}));
            }
            has_begun = false;
            continue;
        }
        has_begun = true;
        if (character == '\\' && quote != '\'' && position + 1 < line.size())
        {
            result.last += line[++position];
        }
        else if (character == quote)
        {
            quote = 0;
        }
        else if (quote == 0 && (character == '\'' || character == '"'))
        {
            quote = character;
        }
        else
        {
            result.last += character;
        }
    }
    result.in_quotes = quote != 0;
    return result;
}

std::string escaped_word(std::string_view text)
{
    constexpr std::string_view special = " \t!\"#$&'()*;<>?[\\]^`{|}~";
    std::string result;
    for (auto const character : text)
    {
        result.append(special.find(character) == std::string_view::npos ? "" : "\\").append(1, character);
    }
    return result;
}

} // namespace Ravik::CommandLine
