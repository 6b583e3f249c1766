#pragma once

#include "Support/LoadedExtension.h"
#include "Support/RecordingHost.h"

#include <string>

/// Recipes and types in a short notation, so that a case fits a line. Entries are separated by blanks.
namespace Ravik::Test
{

/// Types: "T(P,Q) { a:A=1 -b:B n>U c:C>U }" inherits P and Q and has the member a for the symbol A with the default
/// value 1, b for B and not enabled, n that nests U, c with both; "T!" is disabled. A name with "::" lies in folders.
RavikSrv::Value types_of(std::string const& notation);

/// Recipes: "R:T { a=1 n=S }" of the type T with the number 1 for a and the text "S" for n.
RavikSrv::Value recipes_of(std::string const& notation);

/// A configuration of both.
RavikSrv::Value configuration_of(std::string const& types, std::string const& recipes);

/// A map of plain values, "a=1 n=S", and a list of texts, "R S".
std::string text_of(RavikSrv::Value const& values);

/// A symbol table: "A:Line v:Line!" maps A to the domain Line, and v too but without the mapping's use.
RavikSrv::Value symbol_table_of(std::string const& notation);

/// The recipe management in a host whose symbols A to D are served by Line and X and Y by Other; V and W of Line are
/// server symbols.
struct RecipeManagementFixture
{
    RecipeManagementFixture();

    void configure(std::string const& types, std::string const& recipes);
    RavikSrv::Command activate(char const* path);
    /// What `activate` came to: "executed groups | result's name | result's text".
    std::string outcome(char const* path);
    /// "result's name | result's text" of an answered command.
    std::string told(RavikSrv::Command const& command);
    /// Tells the extension of every type and recipe that lies in no folder, in the order of the configuration.
    void announce();

    static constexpr char const* domain = "RavikRecipeManagement";

    RecordingHost host;
    LoadedExtension extension;
};

/// Parameters of a request: a struct with the one entry.
RavikSrv::Value parameters(char const* name, RavikSrv::Value const& value);

} // namespace Ravik::Test
