#pragma once

#include "Support/api_types.h"

#include <string>

/// Recipes and types in a short notation, so that a case fits a line. Entries are separated by blanks, "F::T" lies in
/// the folder F, and "F/" is an empty folder.
namespace Ravik::Test
{

/// Types: "T(P,Q) { a:A=1 -b:B n>U c:C>U d }" inherits P and Q and has the member a for the symbol A with the default
/// value 1, b for B and not enabled, n that nests U, c with both, and d for the symbol d; "T!" is disabled.
Value types_of(std::string const& notation);

/// Recipes: "R:T { a=1 n=S }" of the type T with the number 1 for a and the text "S" for n; "n='1" is a
/// text as well.
Value recipes_of(std::string const& notation);

/// A configuration of both.
Value configuration_of(std::string const& types, std::string const& recipes);
/// The same in one text, with a bar between them.
Value configuration_of(std::string const& notation);

/// The path of a place: one that begins with "T::" or "R::" lies in the list of the types or recipes; "T" and "R" are
/// the lists.
std::string full_path(std::string const& place);

/// A map of plain values, "a=1 n=S", or a list of texts, "R S".
std::string text_of(Value const& values);

/// Any content in short, in its order; an empty list counts as missing.
std::string dump(Value const& value);

/// The text so many times in a row, with the numbers from 0 for "#" and those from 1 for "*".
std::string repeated(int count, std::string const& part);

/// A struct with the one entry, as requests take it.
Value parameters(char const* name, Value const& value);

} // namespace Ravik::Test
