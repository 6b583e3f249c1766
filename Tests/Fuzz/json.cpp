// The quick reading of JSON: reads nothing beyond the text, and reads the same value, or finds fault with the same
// text, as the exact reading, also where the text before makes it expect something. A line break in the input parts the
// two texts.

#include "Json/Json.h"
#include "Json/QuickReader.h"
#include "Json/exact_reading.h"

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <vector>

namespace
{

using RavikSrv::Value;

std::optional<Value> read_exactly(std::string_view text)
{
    try
    {
        return Ravik::Json::read_exactly(text);
    }
    catch (Ravik::Json::ParseError const&)
    {
        return std::nullopt;
    }
}

void read(Ravik::Json::QuickReader& reader, std::string_view text)
{
    // A copy of exactly the text's size, so that a read beyond its end is seen.
    std::vector<char> const bytes(text.begin(), text.end());
    auto const quick = reader.read({bytes.data(), bytes.size()});
    auto const exact = read_exactly(text);
    // The text tells the order of names, which equality does not.
    if (quick != exact || (quick && Ravik::Json::write(*quick) != Ravik::Json::write(*exact)))
    {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::vector<char> const characters(data, data + size);
    std::string_view const input(characters.data(), characters.size());
    auto const first = input.substr(0, input.find('\n'));
    Ravik::Json::QuickReader reader;
    read(reader, first);
    read(reader, input.substr(first.size()));
    read(reader, first);
    return 0;
}
