// What stands behind the parser of HTTP. The first byte of an input chooses the part that the rest is for; whoever adds
// a part puts it last, so that the kept inputs stay what they are.

#include "Api/entity_tags.h"
#include "Api/merge_patch.h"
#include "Api/stream_message.h"
#include "Http/header_check.h"
#include "Http/target.h"

#include "Json/Json.h"
#include "Json/unicode.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

using namespace Ravik::Service;

namespace
{

void expect(bool holds)
{
    if (!holds)
    {
        std::abort();
    }
}

/// Escapes everything that may be escaped.
std::string encoded(std::string_view text, char spared)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string result;
    for (char const each : text)
    {
        auto const byte = static_cast<unsigned char>(each);
        result += each == spared ? std::string(1, each) : std::string{'%', digits[byte >> 4], digits[byte & 15]};
    }
    return result;
}

/// Whatever is decoded is text, leads nowhere else, and comes back the same when it is encoded.
void decode(std::string_view text)
{
    auto const decoded = decode_target("OPTIONS", text);
    if (auto const* const error = std::get_if<TargetError>(&decoded))
    {
        expect(!error->detail.empty());
        return;
    }
    auto const& target = std::get<Target>(decoded);
    if (target.path == "*")
    {
        expect(target.query.empty());
        return;
    }
    expect(target.path.front() == '/' && Ravik::Json::is_readable(target.path));
    auto const closed = target.path + '/';
    expect(closed.find("/../") == std::string::npos && closed.find("/./") == std::string::npos &&
           closed.find('\\') == std::string::npos);
    expect(target.query.size() <= max_parameters);
    auto again = encoded(target.path, '/') + '?';
    for (auto const& [name, value] : target.query)
    {
        expect(Ravik::Json::is_readable(name) && Ravik::Json::is_readable(value));
        again += encoded(name, '\0') + '=' + encoded(value, '\0') + '&';
    }
    auto const twice = decode_target("GET", again);
    expect(std::holds_alternative<Target>(twice) && std::get<Target>(twice).path == target.path &&
           std::get<Target>(twice).query == target.query);
}

/// A header ends in the same place however it is cut, and one that is taken has its frame but once.
void check(std::string_view text)
{
    HeaderScan whole;
    auto const state = whole.scan(text);
    HeaderScan cut;
    auto const first = cut.scan(text.substr(0, text.size() / 2));
    expect((first == HeaderScan::State::more ? cut.scan(text) : first) == state);
    if (state != HeaderScan::State::complete)
    {
        return;
    }
    expect(cut.length() == whole.length());
    std::string header(text.substr(0, whole.length()));
    if (!check_header(header).empty())
    {
        return;
    }
    std::transform(header.begin(), header.end(), header.begin(),
                   [](char each) { return each >= 'A' && each <= 'Z' ? static_cast<char>(each + ' ') : each; });
    auto const has = [&](std::string_view name)
    {
        auto const found = header.find(name);
        expect(found == std::string::npos || header.find(name, found + 1) == std::string::npos);
        return found != std::string::npos;
    };
    expect(has("\r\nhost:"));
    expect(!has("\r\ncontent-length:") || !has("\r\ntransfer-encoding:"));
    expect(header.find("\r\n ") == std::string::npos && header.find("\r\n\t") == std::string::npos);
}

/// What tags there are, they are found again where they are written anew.
void take_tags(std::string_view text)
{
    auto const tags = entity_tags(text);
    std::string again;
    for (auto const& tag : tags)
    {
        again += ", W/\"" + tag + '"';
    }
    expect(entity_tags(again) == tags);
}

/// A patch that was made holds already, so that made once more it changes nothing.
void patch(std::string_view text)
{
    try
    {
        auto const end = std::min(text.find('\n'), text.size());
        auto const target = Ravik::Json::parse(text.substr(0, end));
        auto const change = Ravik::Json::parse(text.substr(std::min(end + 1, text.size())));
        auto const patched = merged(target, change);
        expect(Ravik::Json::write(merged(patched, change)) == Ravik::Json::write(patched));
    }
    catch (Ravik::Json::ParseError const&)
    {
        // Half of all inputs are no JSON.
    }
}

void take_message(std::string_view text)
{
    try
    {
        expect(read_stream_message(text).symbols.size() <= most_symbols);
    }
    catch (std::runtime_error const& error)
    {
        expect(*error.what() != '\0');
    }
}

constexpr std::array parts{decode, check, take_tags, patch, take_message};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    if (size == 0)
    {
        return 0;
    }
    // A copy of exactly the text's size, so that a read beyond its end is seen.
    std::vector<char> const text(data + 1, data + size);
    parts[data[0] % parts.size()](std::string_view(text.data(), text.size()));
    return 0;
}
