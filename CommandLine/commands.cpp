#include "Command.h"

#include "configuration_commands.h"
#include "function_commands.h"
#include "project_commands.h"
#include "symbol_commands.h"

#include <array>
#include <limits>

namespace Ravik::CommandLine
{

namespace
{

constexpr auto any_number = std::numeric_limits<std::size_t>::max();

constexpr std::array<CommandEntry, 9> command_table{{
    {"init",
     "[DIR]",
     0,
     1,
     "Write a sample project",
     R"(
Writes ravik.json (the extensions and symbols), recipes.json (recipes to import)
and a .gitignore for the store into DIR, which is made where it is missing.
Nothing is written where one of the files exists already.

Examples:
  ravik init plant
)",
     {},
     init},
    {"activate",
     "RECIPE",
     1,
     1,
     "Write a recipe's values to the controllers",
     R"(
RECIPE is the recipe's name, with its folders: Folder::Name. Prints what was
written to which symbol. Where a write fails, the values written before it stay.

Examples:
  ravik activate Bread
  ravik activate 'Shift 1::Bread'
)",
     {},
     activate},
    {"call",
     "FUNCTION [JSON]",
     1,
     2,
     "Call any function of a domain",
     R"(
A JSON object is handed over as the function's parameters. Prints the value that
the function answers.

Examples:
  ravik call ActivateRecipe '{"path": "Bread"}'
  ravik call --domain Line SomeFunction 3
)",
     {Option::domain},
     call},
    {"get",
     "[PATH]",
     0,
     1,
     "Print the configuration, or an entry of it, as JSON",
     R"(
The parts of PATH are separated by "::"; an element of a list is named by its
index: name[0].

Examples:
  ravik get
  ravik get recipeList::Bread::values
  ravik --domain Mixer get variables
)",
     {Option::domain},
     get},
    {"import",
     "FILE",
     1,
     1,
     "Take recipe types and recipes from a JSON file",
     R"(
FILE, or standard input for "-", holds an object with "recipeTypeList" and
"recipeList". Folders are merged, an entry replaces the one of its name. One
entry that is refused refuses the whole file.

Examples:
  ravik import recipes.json
  ravik --project old export - | ravik --project new import -
)",
     {Option::domain},
     import},
    {"export",
     "[FILE]",
     0,
     1,
     "Write recipe types and recipes as JSON",
     R"(
Writes what 'import' reads into FILE, or to standard output without one and for
"-". An existing file is replaced with --force only.

Examples:
  ravik export
  ravik export --force backup.json
)",
     {Option::domain, Option::force},
     export_lists},
    {"symbols",
     "",
     0,
     0,
     "List the symbols with their live values",
     R"(
Each symbol with its domain, its address there, its type, its value and whether
that could be read.

Examples:
  ravik symbols
  ravik --json symbols
)",
     {},
     symbols},
    {"symbol get",
     "NAME…",
     1,
     any_number,
     "Read symbols",
     R"(
Prints the value of one symbol as JSON; several give an object of names and
values.

Examples:
  ravik symbol get Mixer.Speed
  ravik symbol get Mixer.Speed Mixer.Temperature
)",
     {},
     symbol_get},
    {"symbol set",
     "NAME JSON",
     2,
     2,
     "Write a symbol",
     R"(
The value must fit the symbol's schema. A text needs double quotes of its own.

Examples:
  ravik symbol set Mixer.Speed 120
  ravik symbol set Mixer.Temperature -5.5
  ravik symbol set Mixer.Product '"Rye"'
)",
     {},
     symbol_set},
}};

} // namespace

std::span<CommandEntry const> all_commands()
{
    return command_table;
}

} // namespace Ravik::CommandLine
