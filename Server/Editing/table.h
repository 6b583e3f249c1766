#pragma once

#include "Editing/Refusal.h"
#include "Editing/findings.h"
#include "Editing/table_text.h"
#include "RavikSrvExtApi.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

/// The recipes of one type as a table: a row for each recipe and a column for each member. The first column, headed
/// "recipe", holds the names of the recipes with their folders; `TableColumn` tells of the other cells.
namespace Ravik
{

/// A table, or why there is none.
struct WrittenTable
{
    Refusal refusal;
    std::string text;
};

/// Writes the recipes of exactly this type, in the order of the tree: the members that the type has and inherits, and
/// behind them those of nested types that a recipe gives a value for. Values that no member stands for are left out.
/// Refused where a value would not come back as it is, because it does not fit its symbol.
WrittenTable write_table(Inspection const& inspection, std::string const& type, TableText::Form const& form);

/// What an import of a table changes.
struct ReadTable
{
    /// What is wrong, in the order of the text and each with its place; then nothing is to be imported.
    std::vector<Refusal> mistakes;
    /// The new and changed recipes as an import takes them, null where there are none.
    RavikSrv::Value data;
    std::size_t created = 0;
    std::size_t changed = 0;
    /// Recipes that stand as the table has them.
    std::size_t same = 0;

    /// The refusal of an import of the data, with the row that it is about.
    Refusal placed(Refusal refusal) const;

    /// The lines of the recipes by their paths.
    std::map<std::string, std::size_t, std::less<>> lines;
};

/// Reads a table of recipes of the type, new ones among them. A recipe keeps the values that the table has no column
/// for; one without a row is left alone.
ReadTable read_table(Inspection const& inspection, std::string const& type, std::string_view text);

namespace TableHeading
{

inline constexpr char const* recipe = "recipe";

} // namespace TableHeading

} // namespace Ravik
