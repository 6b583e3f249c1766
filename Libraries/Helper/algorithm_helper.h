#pragma once

#include "RavikSrvExtApi.h"

#include <cstddef>
#include <string>
#include <vector>

/// String helpers of server and extensions. All of them work on bytes: no locale, no Unicode folding, no trimming.
/// They take zero-terminated texts as `char const*`, which must not be null.
namespace RavikSrv::Algorithm
{

/// Whether both texts are the same, byte for byte.
bool equals(char const* left, char const* right);

/// Whether both texts, up to their first zero byte, are the same but for the case of ASCII letters.
bool iequals(std::string const& left, char const* right);

/// Whether the text is empty.
bool empty(char const* text);

/// Whether the text begins with the prefix; every text begins with the empty one.
bool starts_with(std::string const& text, std::string const& prefix);

/// Whether the text ends with the suffix; every text ends with the empty one.
bool ends_with(std::string const& text, std::string const& suffix);

/// Whether the needle occurs in the text at or after byte `start`. False where `start` lies beyond the end; an empty
/// needle occurs everywhere else.
bool contains(std::string const& text, std::string const& needle, unsigned start = 0);
bool contains(std::string const& text, char const* needle, unsigned start = 0);

/// Replaces the first occurrence of `from` by `to`, in place, and returns whether there was one. An empty `from` occurs
/// in front of every text but the empty one, in which nothing is replaced.
bool replace(std::string& text, std::string const& from, std::string const& to);

/// Removes `prefix` from the front of the text where it stands there; returns whether it did.
bool remove_start(std::string& text, std::string const& prefix);

/// The parts of a server name between the separators "::". An empty text has no parts; any other has one more than
/// separators, empty ones included. Single colons, points and brackets are ordinary characters.
std::vector<std::string> split_symbol_name(char const* name);

/// Reads a text of decimal digits alone. Returns false, and leaves `number` as it is, for any other text and for a
/// number beyond the range.
bool try_as_size_t(std::string const& text, std::size_t& number);

/// The value's text: its conversion to a string, empty where it has none.
std::string to_string(Value const& value);

/// The type's name with a capital letter ("Null", "Bool", …, "DateTime", "TimeSpan", …).
char const* value_type_to_string(ValueType type);

} // namespace RavikSrv::Algorithm
