#pragma once

#include "Json/Location.h"

#include "RavikSrvExt/Value.h"

#include <cstddef>
#include <string>
#include <string_view>

/// JSON text and values. Documentation/values.md tells how each kind of value is written and what it reads back as.
namespace Ravik::Json
{

/// How deep objects and arrays may nest in a text that is read.
inline constexpr std::size_t max_nesting = 128;

/// Reads a JSON text (UTF-8). Numbers keep their value exactly: one with a point or an exponent is a double, any other
/// an int or, beyond 32 bits, an int64. Objects become maps, and objects with the same keys in the same order share one
/// table of keys. Throws `ParseError` for whatever breaks the syntax and for an empty text, text behind the value,
/// nesting deeper than `max_nesting`, a key that stands twice in one object, U+0000, invalid UTF-8, an integer beyond
/// 64 bits and a number too large for a double.
RavikSrv::Value parse(std::string_view text);

enum class Layout
{
    /// Without any blank, as the store keeps it.
    Compact,
    /// An entry a line, two spaces a level; a short vector of scalars stands on one line.
    Indented,
};

/// The value as JSON text, valid whatever the value holds, and without a line break at its end. Invalid UTF-8 and
/// U+0000 are written as U+FFFD. Nesting costs no stack.
std::string write(RavikSrv::Value const& value, Layout layout = Layout::Compact);

/// The value as a person is shown it in a line: its text, a dash for none.
std::string shown(RavikSrv::Value const& value);

/// Why the text that `write` makes of the value could not be read again, or would be read with another text or name in
/// it: nesting too deep, a text or name that is no UTF-8 or holds U+0000. Empty where nothing is in the way. Whoever
/// stores values as text asks this first.
std::string obstacle(RavikSrv::Value const& value);

} // namespace Ravik::Json
