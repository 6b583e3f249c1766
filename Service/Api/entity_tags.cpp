#include "Api/entity_tags.h"

namespace Ravik::Service
{

std::vector<std::string> entity_tags(std::string_view list)
{
    std::vector<std::string> tags;
    auto begin = list.find_first_not_of(" \t,");
    while (begin != std::string_view::npos)
    {
        auto const quote = list.substr(begin, 2) == "W/" ? begin + 2 : begin;
        auto const is_quoted = quote < list.size() && list[quote] == '"';
        auto const end = is_quoted ? list.find('"', quote + 1) : std::string_view::npos;
        if (end == std::string_view::npos)
        {
            return {};
        }
        tags.emplace_back(list.substr(quote + 1, end - quote - 1));
        begin = list.find_first_not_of(" \t,", end + 1);
    }
    return tags;
}

} // namespace Ravik::Service
