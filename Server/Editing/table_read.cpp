#include "Editing/table.h"

#include "Editing/RefusalList.h"
#include "Editing/entry_checks.h"
#include "Editing/table_columns.h"

#include "Configuration/Entry.h"
#include "Configuration/tree.h"
#include "Schema/messages.h"
#include "Json/Json.h"
#include "Json/unicode.h"

#include "algorithm_helper.h"
#include "api_helper.h"

#include "RavikSrvExt/MapBuilder.h"

#include <unordered_map>
#include <utility>

namespace Ravik
{

using RavikSrv::ErrorValue;
using RavikSrv::MapBuilder;
using RavikSrv::Value;
using RavikSrv::ValueType;
using RavikSrv::Algorithm::to_string;
using TableText::Cell;

namespace
{

/// Tells the places of offsets, most of which come in their order, without counting anew from the text's begin.
class Places
{
public:
    explicit Places(std::string_view text) : m_text(text) {}

    Json::Location of(std::size_t offset)
    {
        if (offset < m_offset)
        {
            *this = Places(m_text);
        }
        auto const further = Json::location_of(m_text.substr(m_offset), offset - m_offset);
        m_place = {.line = m_place.line + further.line - 1,
                   .column = further.line == 1 ? m_place.column + further.column - 1 : further.column};
        m_offset = offset;
        return m_place;
    }

private:
    std::string_view m_text;
    std::size_t m_offset = 0;
    Json::Location m_place{.line = 1, .column = 1};
};

class TableReader
{
public:
    TableReader(Inspection const& inspection, std::string const& type, std::string_view text)
        : m_inspection(inspection), m_type(type), m_text(TableText::without_mark(text)), m_places(m_text),
          m_cells(m_text), m_columns(inspection, type)
    {
        m_new_recipe.insert(Key::recipe_type_name, Value(std::string_view(type)));
        m_new_recipe.insert(Key::values, Value(ValueType::Map));
    }

    ReadTable read()
    {
        try
        {
            if (check_characters() && read_headings())
            {
                while (auto const cell = m_cells.next())
                {
                    read_row(*cell);
                }
            }
        }
        catch (TableText::SyntaxError const& error)
        {
            fail(error.offset(), ErrorValue::SYNTAX, error.what());
        }
        m_table.mistakes = m_mistakes.take();
        return std::move(m_table);
    }

private:
    void fail(std::size_t offset, ErrorValue error, std::string text, std::string path = {})
    {
        static_cast<void>(m_mistakes.add({error, std::move(text), std::move(path), m_places.of(offset)}));
    }

    bool check_characters()
    {
        for (auto rest = m_text; !rest.empty();)
        {
            auto const character = Json::first_character(rest);
            if (!character.valid || character.code == 0)
            {
                fail(m_text.size() - rest.size(), ErrorValue::SYNTAX,
                     character.valid ? "a table can't hold U+0000" : "the text is not valid UTF-8");
                return false;
            }
            rest.remove_prefix(character.bytes.size());
        }
        return true;
    }

    // The first row ---------------------------------------------------------------------------------------------------

    bool read_headings()
    {
        auto cell = m_cells.next();
        if (!cell || cell->text != TableHeading::recipe)
        {
            fail(0, ErrorValue::REQUIRED_FIELD,
                 R"(the first row names the columns; the first of them is "recipe", the next stands behind , or ;)");
            return false;
        }
        while (!cell->ends_row)
        {
            cell = m_cells.next();
            read_heading(*cell);
        }
        return m_mistakes.count() == 0;
    }

    void read_heading(Cell const& cell)
    {
        auto const name = name_of_cell(cell.text);
        auto const* const column = m_columns.find(name);
        if (column == nullptr)
        {
            fail(cell.offset, ErrorValue::ENTRY_NOT_FOUND,
                 name.empty() ? "the column has no heading"
                              : "the recipe type \"" + m_type + "\" has no member \"" + name + '"');
        }
        else if (!m_positions.emplace(column->name, m_used.size()).second)
        {
            fail(cell.offset, ErrorValue::UNIQUE, "there is a column \"" + name + "\" already");
        }
        m_used.push_back(column);
    }

    // The other rows --------------------------------------------------------------------------------------------------

    void read_row(Cell cell)
    {
        auto const start = cell.offset;
        auto is_blank = cell.text.empty();
        m_path.clear();
        m_present = nullptr;
        m_values.assign(m_used.size(), Value());
        auto const mistakes = m_mistakes.count();
        if (!is_blank)
        {
            begin_row(name_of_cell(cell.text), start);
        }
        std::size_t count = 0;
        for (; !cell.ends_row; ++count)
        {
            cell = *m_cells.next();
            is_blank = is_blank && cell.text.empty();
            if (count < m_used.size() && !m_path.empty())
            {
                read_cell(cell, count);
            }
        }
        // Spreadsheets leave rows of empty cells at the end.
        if (!is_blank && m_mistakes.count() == mistakes)
        {
            end_row(start, cell.offset, count);
        }
    }

    /// Sets the path of the row's recipe, and the recipe where there is one; leaves both where there is a mistake.
    void begin_row(std::string const& name, std::size_t offset)
    {
        std::string path = Key::recipe_list;
        for (auto const& part : RavikSrv::Algorithm::split_symbol_name(name.c_str()))
        {
            if (auto const refusal = check_name(path, part))
            {
                return fail(offset, refusal.error, refusal.text, refusal.path);
            }
            path = Tree::join(path, part);
        }
        if (path == Key::recipe_list)
        {
            return;
        }
        auto const* const present = RavikSrv::node_path(path, m_inspection.tree).node;
        auto const objection = present == nullptr ? objection_to_new(path) : objection_to(path, *present);
        if (!objection.empty())
        {
            return fail(offset, ErrorValue::TYPE_MISMATCH, objection, path);
        }
        if (!m_table.lines.emplace(path, m_places.of(offset).line).second)
        {
            return fail(offset, ErrorValue::UNIQUE, "the recipe has a row already", path);
        }
        m_path = std::move(path);
        m_present = present;
    }

    std::string objection_to(std::string const& path, Value const& present) const
    {
        auto const type = to_string(present[Key::recipe_type_name]);
        return kind_of(path, present) != EntryKind::Recipe ? "this is no recipe but a folder"
               : type != m_type                            ? "this is a recipe of the type \"" + type + '"'
                                                           : std::string();
    }

    std::string objection_to_new(std::string const& path) const
    {
        auto const lies_in_recipe = locate(path, m_inspection.tree).kind == EntryKind::Inside ||
                                    locate(path, m_table.data).kind == EntryKind::Inside;
        return lies_in_recipe ? "the name leads into another recipe"
               : RavikSrv::node_path(path, std::as_const(m_table.data)).node != nullptr
                   ? "a folder of this name stands in a row above"
                   : std::string();
    }

    void read_cell(Cell const& cell, std::size_t position)
    {
        auto const& column = *m_used[position];
        static Value const none;
        auto const& present = m_present == nullptr ? none : (*m_present)[Key::values][column.name.c_str()];
        auto const fail_here = [&](ErrorValue error, std::string text)
        { fail(cell.offset, error, std::move(text), Tree::join(Tree::join(m_path, Key::values), column.name)); };
        try
        {
            m_values[position] = column.value_of(cell.text, present);
        }
        catch (Json::ParseError const& error)
        {
            return fail_here(ErrorValue::SYNTAX, Schema::quoted(cell.text) + " is not JSON: " + error.what() +
                                                     "; a number has a point, and an apostrophe leads a text");
        }
        if (auto const misfit = check(column, m_values[position]); misfit.result() != ErrorValue::SUCCESS)
        {
            fail_here(misfit.result(), misfit.text());
        }
    }

    RavikSrv::ResultPair check(TableColumn const& column, Value const& value) const
    {
        auto fits = column.symbol.symbol == nullptr || !value.isset()
                        ? RavikSrv::ResultPair()
                        : column.symbol.symbol->check(column.symbol.rest, value);
        return fits.result() == ErrorValue::SUCCESS && column.schema.isset()
                   ? m_inspection.validator.validate(column.schema, value, "")
                   : fits;
    }

    /// What is left to do for a row whose cells are right, that many behind the first.
    void end_row(std::size_t start, std::size_t last_cell, std::size_t count)
    {
        if (m_path.empty())
        {
            fail(start, ErrorValue::REQUIRED_FIELD, "the recipe has no name");
        }
        else if (count != m_used.size())
        {
            fail(last_cell, ErrorValue::ARRAY_RANGE_MISMATCH,
                 "the row ends with cell " + std::to_string(count + 1) + "; the first row has " +
                     std::to_string(m_used.size() + 1),
                 m_path);
        }
        else
        {
            add_recipe();
        }
    }

    void add_recipe()
    {
        Value recipe = m_present == nullptr ? m_new_recipe : *m_present;
        auto const values = merged(std::as_const(recipe)[Key::values]);
        if (m_present != nullptr && values == (*m_present)[Key::values])
        {
            ++m_table.same;
            return;
        }
        ++(m_present == nullptr ? m_table.created : m_table.changed);
        m_model = values;
        recipe.insert_or_update(Key::values, values);
        if (!m_table.data.isset())
        {
            m_table.data.set_type(ValueType::Map);
        }
        std::vector<Tree::Change> changes;
        // Nothing stands in the way: the path has been looked at.
        static_cast<void>(Tree::write(m_table.data, m_path, recipe, Tree::WriteMode::ReplaceInPath, changes));
    }

    /// The values of a recipe with those of the row: what stands there keeps its place, what is new goes to the end.
    Value merged(Value const& before) const
    {
        MapBuilder values(m_model);
        auto const insert = [&values](char const* name, Value value)
        { static_cast<void>(values.insert(name, std::move(value))); };
        for (auto value = before.begin(); value != before.end(); ++value)
        {
            auto const position = m_positions.find(std::string_view(value.name()));
            auto const& in_row = position == m_positions.end() ? *value : m_values[position->second];
            if (in_row.isset() || !value->isset())
            {
                insert(value.name(), in_row);
            }
        }
        for (std::size_t position = 0; position < m_used.size(); ++position)
        {
            auto const* const name = m_used[position]->name.c_str();
            if (m_values[position].isset() && before.find(name) == before.end())
            {
                insert(name, m_values[position]);
            }
        }
        return values.finish();
    }

    Inspection const& m_inspection;
    std::string const& m_type;
    std::string_view m_text;
    Places m_places;
    TableText::Reader m_cells;
    TableColumns m_columns;
    RefusalList m_mistakes;
    ReadTable m_table;
    /// The columns behind the first, and their positions by the names, which they own.
    std::vector<TableColumn const*> m_used;
    std::unordered_map<std::string_view, std::size_t> m_positions;
    Value m_new_recipe{ValueType::Map};
    /// The values of the recipe before, mostly of the same names.
    Value m_model;

    // The row that is read: its recipe's path, empty for one with a mistake in the first cell; the recipe as it stands,
    // null for a new one; and the values, null for an empty cell.
    std::string m_path;
    Value const* m_present = nullptr;
    std::vector<Value> m_values;
};

} // namespace

ReadTable read_table(Inspection const& inspection, std::string const& type, std::string_view text)
{
    return TableReader(inspection, type, text).read();
}

Refusal ReadTable::placed(Refusal refusal) const
{
    auto path = refusal.path;
    while (!path.empty() && !lines.contains(path))
    {
        path = Tree::split_last(path).parent;
    }
    // For a folder the first recipe below it, by the order of the names.
    auto const found = path.empty() ? lines.lower_bound(Tree::join(refusal.path, "")) : lines.find(path);
    if (found != lines.end() && !refusal.path.empty() && found->first.starts_with(path.empty() ? refusal.path : path))
    {
        refusal.place = {.line = found->second, .column = 1};
    }
    return refusal;
}

} // namespace Ravik
