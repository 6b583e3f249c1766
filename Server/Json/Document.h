#pragma once

#include "Json/Location.h"

#include "RavikSrvExt/Value.h"

#include <string>
#include <vector>

namespace Ravik::Json
{

/// A JSON text with its value, for messages about what stands where in a file that a person wrote. Immutable.
class Document
{
public:
    /// Reads the text; throws `ParseError` as `Json::parse` does.
    explicit Document(std::string text);

    RavikSrv::Value const& value() const noexcept { return m_value; }

    using Path = std::vector<std::string>;

    /// Where the path (names of entries and decimal indices of elements, from the root) leads: the first character of
    /// the entry's key or of the element, of the text's value for the empty path. Where the path leads nowhere, the
    /// deepest place on it. Takes time linear in the text.
    Location locate(Path const& path) const { return locate_all({path}).front(); }
    /// The same for many paths, in one pass over the text.
    std::vector<Location> locate_all(std::vector<Path> const& paths) const;

private:
    std::string m_text;
    RavikSrv::Value m_value;
};

} // namespace Ravik::Json
