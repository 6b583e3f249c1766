#pragma once

#include "Editing/findings.h"
#include "Execution/SymbolTable.h"
#include "RavikSrvExtApi.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Ravik
{

/// A member as the column of a table, and how its values are written as cells.
///
/// An empty cell is no value. Where the member's symbol takes texts alone, and where the value names a nested recipe, a
/// cell is the text itself; everywhere else it is JSON. A cell that begins with an apostrophe is the text behind it, in
/// every column: so an empty text is written, and one that a spreadsheet would take for a formula, a number, a date or
/// a truth value.
struct TableColumn
{
    std::string name;
    bool holds_texts = false;
    /// What its values have to fit: the symbol, where there is one, and the member's schema, null where there is none.
    SymbolReference symbol = {};
    RavikSrv::Value schema = {};

    /// The cell that stands for the value.
    std::string cell_of(RavikSrv::Value const& value) const;
    /// The value that a cell stands for. Where a recipe has a double already, a whole number is one too, as
    /// spreadsheets drop a fraction of zero. Throws `Json::ParseError`.
    RavikSrv::Value value_of(std::string_view cell, RavikSrv::Value const& present) const;
    /// Whether the value comes back from its cell as it is.
    bool carries(RavikSrv::Value const& value) const;
};

/// A name as a cell, and back.
std::string name_cell(std::string_view name);
std::string name_of_cell(std::string_view cell);

/// The columns of the tables of a recipe type. Refers to the inspection, which must outlive it.
class TableColumns
{
public:
    TableColumns(Inspection const& inspection, std::string const& type);

    /// The members that the type inherits and its own, in their order.
    std::vector<TableColumn const*> const& members() const noexcept { return m_members; }
    /// The column of a member, also of one that a nested type has and a recipe may give a value for; null where the
    /// type knows no such member.
    TableColumn const* find(std::string_view name) const;

private:
    void add(Inspection const& inspection, std::string const& name, RavikSrv::Value const* member, bool nests_type);

    std::map<std::string, TableColumn, std::less<>> m_all;
    std::vector<TableColumn const*> m_members;
};

} // namespace Ravik
