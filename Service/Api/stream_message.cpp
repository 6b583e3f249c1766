#include "Api/stream_message.h"

#include "Json/Json.h"

namespace Ravik::Service
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

constexpr char const* shape = "a message has to be {\"csrf\": …, \"symbols\": [NAME…]}";

Value parsed(std::string_view text)
{
    try
    {
        return Json::parse(text);
    }
    catch (Json::ParseError const& error)
    {
        throw std::runtime_error(std::string("a message has to be JSON: ") + error.what());
    }
}

} // namespace

StreamMessage read_stream_message(std::string_view text)
{
    Value const message = parsed(text);
    auto const& symbols = message["symbols"];
    auto const& csrf = message["csrf"];
    if (message.type() != ValueType::Map || (symbols.isset() && symbols.type() != ValueType::Vector) ||
        (csrf.isset() && csrf.type() != ValueType::String))
    {
        throw std::runtime_error(shape);
    }
    if (symbols.size() > most_symbols)
    {
        throw std::runtime_error("at most " + std::to_string(most_symbols) + " symbols are watched at once");
    }
    StreamMessage read{.csrf = std::string(csrf.get_text()), .symbols = {}};
    for (auto name = symbols.begin_vector(); name != symbols.end_vector(); ++name)
    {
        if (name->type() != ValueType::String)
        {
            throw std::runtime_error(shape);
        }
        read.symbols.emplace_back(name->get_text());
    }
    return read;
}

} // namespace Ravik::Service
