#include "Http/target.h"

#include "Http/text.h"

#include "Json/unicode.h"

#include <algorithm>
#include <optional>

namespace Ravik::Service
{
namespace
{

/// Thrown inside this file alone.
struct Refusal
{
    std::string detail;
};

unsigned hexadecimal(char digit)
{
    if (digit >= '0' && digit <= '9')
    {
        return static_cast<unsigned>(digit - '0');
    }
    char const small = lower_case(digit);
    if (small >= 'a' && small <= 'f')
    {
        return static_cast<unsigned>(small - 'a' + 10);
    }
    throw Refusal{"An escape in the target is not followed by two hexadecimal digits"};
}

char escaped_character(std::string_view text, std::size_t percent)
{
    if (text.size() - percent < 3)
    {
        throw Refusal{"An escape in the target is cut short"};
    }
    return static_cast<char>(hexadecimal(text[percent + 1]) * 16 + hexadecimal(text[percent + 2]));
}

std::string decode(std::string_view text, bool in_path)
{
    std::string result;
    result.reserve(text.size());
    for (std::size_t place = 0; place < text.size(); ++place)
    {
        char character = text[place];
        if (character == '%')
        {
            character = escaped_character(text, place);
            place += 2;
            if (in_path && character == '/')
            {
                throw Refusal{"The path has an escaped slash"};
            }
        }
        else if (character == '+' && !in_path)
        {
            character = ' ';
        }
        if (in_path && character == '\\')
        {
            throw Refusal{"The path has a backslash"};
        }
        result += character;
    }
    if (!Json::is_readable(result))
    {
        throw Refusal{"The target is not UTF-8 without U+0000"};
    }
    return result;
}

std::string decode_path(std::string_view text)
{
    auto path = decode(text, true);
    std::string_view rest = path;
    while (!rest.empty())
    {
        rest.remove_prefix(1);
        auto const segment = rest.substr(0, rest.find('/'));
        if (segment == "." || segment == "..")
        {
            throw Refusal{"The path has the segment \"" + std::string(segment) + "\""};
        }
        rest.remove_prefix(segment.size());
    }
    return path;
}

Fields decode_query(std::string_view text)
{
    Fields query;
    while (!text.empty())
    {
        auto const part = text.substr(0, text.find('&'));
        text.remove_prefix(std::min(part.size() + 1, text.size()));
        if (part.empty())
        {
            continue;
        }
        if (query.size() == max_parameters)
        {
            throw Refusal{"The query has more than " + std::to_string(max_parameters) + " parameters"};
        }
        auto const name = part.substr(0, part.find('='));
        auto const value = part.substr(std::min(name.size() + 1, part.size()));
        query.emplace_back(decode(name, false), decode(value, false));
    }
    return query;
}

/// Takes the scheme and the authority off an absolute target and returns the authority.
std::string take_authority(std::string_view& target)
{
    auto const scheme = target.substr(0, target.find("://"));
    if (scheme.size() == target.size() ||
        (!equals_ignoring_case(scheme, "http") && !equals_ignoring_case(scheme, "https")))
    {
        throw Refusal{"The target is neither a path nor an address of http or https"};
    }
    target.remove_prefix(scheme.size() + 3);
    auto const authority = target.substr(0, target.find_first_of("/?"));
    if (authority.empty() || authority.find('@') != std::string_view::npos)
    {
        throw Refusal{"The target's address has no host, or a user"};
    }
    target.remove_prefix(authority.size());
    return std::string(authority);
}

Target decode_or_throw(std::string_view method, std::string_view target)
{
    bool const is_options = method == "OPTIONS";
    if (target == "*" && is_options)
    {
        return {.path = "*", .query = {}, .authority = {}};
    }
    if (target.find('#') != std::string_view::npos)
    {
        throw Refusal{"The target has a fragment"};
    }
    Target result;
    if (target.empty() || target.front() != '/')
    {
        result.authority = take_authority(target);
    }
    auto const path = target.substr(0, target.find('?'));
    bool const has_query = path.size() < target.size();
    result.path = decode_path(path);
    if (path.empty())
    {
        result.path = is_options && !has_query ? "*" : "/";
    }
    result.query = decode_query(has_query ? target.substr(path.size() + 1) : std::string_view());
    return result;
}

} // namespace

std::variant<Target, TargetError> decode_target(std::string_view method, std::string_view target)
{
    try
    {
        return decode_or_throw(method, target);
    }
    catch (Refusal& refusal)
    {
        return TargetError{std::move(refusal.detail)};
    }
}

} // namespace Ravik::Service
