#pragma once

#include "Json/Location.h"

#include <boost/json/error.hpp>

#include <cstddef>
#include <string_view>

namespace Ravik::Json
{

/// What the parser's error `code` at `offset` means to a person.
ParseError syntax_error(std::string_view text, std::size_t offset, boost::json::error_code const& code);

/// The error of text that follows a complete value at `offset`.
ParseError trailing_text_error(std::string_view text, std::size_t offset);

} // namespace Ravik::Json
