#include "Json/Document.h"

#include "Json/Json.h"
#include "Json/Scanner.h"

#include "algorithm_helper.h"

#include <cstddef>
#include <optional>
#include <utility>

namespace Ravik::Json
{

namespace
{

/// Steps from the begin of an object to the value of the entry; answers where its key stands.
std::optional<std::size_t> enter_object(Scanner& scanner, std::string const& name)
{
    scanner.skip_punctuation();
    while (scanner.peek() == '"')
    {
        auto const position = scanner.position();
        auto const key = parse(scanner.skip_text());
        scanner.skip_punctuation();
        if (key.get_text() == name)
        {
            return position;
        }
        scanner.skip_value();
        if (scanner.peek() == ',')
        {
            scanner.skip_punctuation();
        }
    }
    return std::nullopt;
}

/// Steps from the begin of an array to the element; answers where it stands.
std::optional<std::size_t> enter_array(Scanner& scanner, std::string const& index)
{
    std::size_t steps = 0;
    if (!RavikSrv::Algorithm::try_as_size_t(index, steps))
    {
        return std::nullopt;
    }
    scanner.skip_punctuation();
    while (scanner.peek() != ']')
    {
        if (steps-- == 0)
        {
            return scanner.position();
        }
        scanner.skip_value();
        if (scanner.peek() == ',')
        {
            scanner.skip_punctuation();
        }
    }
    return std::nullopt;
}

std::optional<std::size_t> enter(Scanner& scanner, std::string const& component)
{
    switch (scanner.peek())
    {
    case '{':
        return enter_object(scanner, component);
    case '[':
        return enter_array(scanner, component);
    default:
        return std::nullopt;
    }
}

} // namespace

Document::Document(std::string text) : m_text(std::move(text)), m_value(parse(m_text))
{
}

Location Document::locate(std::vector<std::string> const& path) const
{
    Scanner scanner(m_text);
    auto deepest = scanner.position();
    for (auto const& component : path)
    {
        auto const position = enter(scanner, component);
        if (!position)
        {
            break;
        }
        deepest = *position;
    }
    return location_of(m_text, deepest);
}

} // namespace Ravik::Json
