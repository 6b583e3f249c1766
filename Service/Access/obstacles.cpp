#include "Access/obstacles.h"

#include "Json/unicode.h"

#include <algorithm>
#include <array>
#include <vector>

namespace Ravik::Service
{

namespace
{

constexpr std::size_t longest_name = 64;
constexpr std::size_t shortest_password = 8;
constexpr std::size_t longest_password = 1024;

bool is_blank(char32_t code)
{
    constexpr std::array<char32_t, 8> blanks{U' ',      U'\u00A0', U'\u1680', U'\u202F',
                                             U'\u205F', U'\u2800', U'\u3000', U'\u3164'};
    constexpr char32_t first_quad = 0x2000;
    constexpr char32_t last_quad = 0x200A;
    return (code >= first_quad && code <= last_quad) || std::find(blanks.begin(), blanks.end(), code) != blanks.end();
}

std::vector<char32_t> code_points(std::string_view text)
{
    std::vector<char32_t> codes;
    while (!text.empty())
    {
        auto const character = Json::first_character(text);
        codes.push_back(character.code);
        text.remove_prefix(character.bytes.size());
    }
    return codes;
}

} // namespace

std::string name_obstacle(std::string const& name)
{
    if (!Json::is_utf8(name))
    {
        return "a name is UTF-8";
    }
    auto const codes = code_points(name);
    if (codes.empty() || codes.size() > longest_name)
    {
        return "a name has 1 to 64 characters";
    }
    if (std::any_of(codes.begin(), codes.end(), Json::is_hidden))
    {
        return "a name has no characters that nobody sees or that change the direction of writing";
    }
    if (is_blank(codes.front()) || is_blank(codes.back()))
    {
        return "a name begins and ends with something else than a blank";
    }
    return name.find_first_of(":/") == std::string::npos ? "" : "a name has no ':' and no '/'";
}

std::string password_obstacle(std::string const& password)
{
    if (!Json::is_readable(password))
    {
        return "a password is UTF-8";
    }
    if (password.size() > longest_password)
    {
        return "a password has at most 1024 bytes";
    }
    return code_points(password).size() >= shortest_password ? "" : "a password has at least 8 characters";
}

} // namespace Ravik::Service
