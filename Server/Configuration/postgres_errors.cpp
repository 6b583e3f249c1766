#include "Configuration/postgres_errors.h"

#include <algorithm>
#include <array>
#include <utility>

namespace Ravik::PostgresErrors
{

bool is_passing(std::string_view state)
{
    // Lost connections; shutting down, crashed and starting; cancelled, as by a timeout; waited too long for a lock;
    // idle in a transaction; no connection left; ways crossed with another transaction.
    constexpr std::array states{"57P01", "57P02", "57P03", "57P05", "57014", "55P03",
                                "25P03", "25P04", "53300", "40001", "40P01"};
    return state.substr(0, 2) == "08" || std::find(states.begin(), states.end(), state) != states.end();
}

std::string advice(std::string_view state)
{
    using Advice = std::pair<std::string_view, std::string_view>;
    constexpr std::array advices{
        Advice{no_right, "the owner of the tables gives the user USAGE on the schema, and SELECT, INSERT, UPDATE and "
                         "DELETE on its tables, without policies for rows"},
        Advice{"25006", "the database is read-only; name the primary one, or add target_session_attrs=read-write"},
        Advice{"53100", "make room at the database"},
        Advice{"3F000", "'ravik library init' makes the library"},
        Advice{"42P01", "the library's tables are not what they were; put them right from a backup"},
        Advice{"42703", "the library's tables are not what they were; put them right from a backup"},
        Advice{"26000", "what stands between gives this session to others; name the database itself"},
        Advice{"42P05", "what stands between gives this session to others; name the database itself"},
        Advice{"55P03", "another server has had the turn for long; try again"},
        Advice{"23514", "a path has at most 2,000 bytes"},
    };
    auto const* const found =
        std::find_if(advices.begin(), advices.end(), [state](Advice const& known) { return known.first == state; });
    return found == advices.end() ? "" : " (" + std::string(found->second) + ")";
}

std::string in_one_line(std::string_view text)
{
    std::string line;
    for (auto const character : text)
    {
        if (character == '\n')
        {
            line += "; ";
        }
        else if (character != '\t')
        {
            line += character;
        }
    }
    while (!line.empty() && (line.back() == ' ' || line.back() == ';'))
    {
        line.pop_back();
    }
    // A severity, in the language of the database, stands before a colon and two blanks.
    constexpr std::string_view mark = ":  ";
    for (auto end = line.find(mark); end != std::string::npos; end = line.find(mark))
    {
        auto const blank = line.rfind(' ', end);
        auto const begin = blank == std::string::npos ? 0 : blank + 1;
        line.erase(begin, end + mark.size() - begin);
    }
    return line;
}

} // namespace Ravik::PostgresErrors
