#include "algorithm_helper.h"

#include "PathIterator.h"

#include <boost/algorithm/string/predicate.hpp>

#include <charconv>
#include <cstring>
#include <locale>

namespace RavikSrv::Algorithm
{

bool equals(char const* left, char const* right)
{
    return std::strcmp(left, right) == 0;
}

bool iequals(std::string const& left, char const* right)
{
    // As the C comparison, which this stands for, ends at a zero byte.
    return boost::algorithm::iequals(left.c_str(), right, std::locale::classic());
}

bool empty(char const* text)
{
    return *text == '\0';
}

bool starts_with(std::string const& text, std::string const& prefix)
{
    return boost::algorithm::starts_with(text, prefix);
}

bool ends_with(std::string const& text, std::string const& suffix)
{
    return boost::algorithm::ends_with(text, suffix);
}

bool contains(std::string const& text, std::string const& needle, unsigned start)
{
    return text.find(needle, start) != std::string::npos;
}

bool contains(std::string const& text, char const* needle, unsigned start)
{
    return text.find(needle, start) != std::string::npos;
}

bool replace(std::string& text, std::string const& from, std::string const& to)
{
    auto const position = text.empty() ? std::string::npos : text.find(from);
    if (position == std::string::npos)
    {
        return false;
    }
    text.replace(position, from.size(), to);
    return true;
}

bool remove_start(std::string& text, std::string const& prefix)
{
    if (!starts_with(text, prefix))
    {
        return false;
    }
    text.erase(0, prefix.size());
    return true;
}

std::vector<std::string> split_symbol_name(char const* name)
{
    std::vector<std::string> parts;
    for (NameSplitter splitter(name); splitter.next();)
    {
        parts.emplace_back(splitter.part());
    }
    return parts;
}

bool try_as_size_t(std::string const& text, std::size_t& number)
{
    std::size_t read = 0;
    auto const* const last = text.data() + text.size();
    auto const [end, error] = std::from_chars(text.data(), last, read);
    if (error != std::errc() || end != last)
    {
        return false;
    }
    number = read;
    return true;
}

std::string to_string(Value const& value)
{
    if (value.type() == ValueType::String)
    {
        return value.get_string();
    }
    auto text = value;
    text.convert(ValueType::String);
    return text.get_string();
}

char const* value_type_to_string(ValueType type)
{
    switch (type)
    {
    case ValueType::Bool:
        return "Bool";
    case ValueType::Int:
        return "Int";
    case ValueType::Double:
        return "Double";
    case ValueType::String:
        return "String";
    case ValueType::Vector:
        return "Vector";
    case ValueType::Map:
        return "Map";
    case ValueType::Struct:
        return "Struct";
    case ValueType::Binary:
        return "Binary";
    case ValueType::Int64:
        return "Int64";
    case ValueType::DateTime:
        return "DateTime";
    case ValueType::TimeSpan:
        return "TimeSpan";
    case ValueType::Event:
        return "Event";
    case ValueType::Message:
        return "Message";
    case ValueType::Alarm:
        return "Alarm";
    case ValueType::Any:
        return "Any";
    default:
        return "Null";
    }
}

} // namespace RavikSrv::Algorithm
