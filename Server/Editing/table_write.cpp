#include "Editing/table.h"

#include "Editing/table_columns.h"

#include "Configuration/Entry.h"
#include "Configuration/tree.h"
#include "Json/Json.h"

#include "algorithm_helper.h"
#include "api_helper.h"

#include <unordered_set>

namespace Ravik
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::Algorithm::to_string;

namespace
{

class TableWriter
{
public:
    TableWriter(Inspection const& inspection, std::string const& type, TableText::Form const& form)
        : m_inspection(inspection), m_type(type), m_form(form), m_columns(inspection, type), m_used(m_columns.members())
    {
    }

    WrittenTable write()
    {
        find_further_columns();
        m_table.text = m_form.byte_order_mark ? TableText::byte_order_mark : std::string_view();
        m_table.text += TableHeading::recipe;
        for (auto const* const column : m_used)
        {
            m_table.text += m_form.separator;
            TableText::append_cell(m_table.text, name_cell(column->name));
        }
        m_table.text += TableText::row_end;
        for_each_recipe([this](std::string const& path, Value const& recipe) { write_row(path, recipe); });
        return std::move(m_table);
    }

private:
    template <typename Visit> void for_each_recipe(Visit visit) const
    {
        for_each_entry(Key::recipe_list, m_inspection.tree,
                       [&](std::string const& path, Value const& entry, EntryKind kind)
                       {
                           if (kind == EntryKind::Recipe && to_string(entry[Key::recipe_type_name]) == m_type)
                           {
                               visit(path, entry);
                           }
                           return !m_table.refusal;
                       });
    }

    /// Members of nested types that a recipe gives values for.
    void find_further_columns()
    {
        std::unordered_set<TableColumn const*> known(m_used.begin(), m_used.end());
        for_each_recipe(
            [&](std::string const& /*path*/, Value const& recipe)
            {
                Value const& values = recipe[Key::values];
                for (auto value = values.begin(); value != values.end(); ++value)
                {
                    auto const* const column = m_columns.find(value.name());
                    if (column != nullptr && known.insert(column).second)
                    {
                        m_used.push_back(column);
                    }
                }
            });
    }

    void write_row(std::string const& path, Value const& recipe)
    {
        TableText::append_cell(m_table.text, name_cell(relative_name(path)));
        for (auto const* const column : m_used)
        {
            auto const& value = recipe[Key::values][column->name.c_str()];
            if (!column->carries(value))
            {
                m_table.refusal = {ErrorValue::TYPE_MISMATCH,
                                   "a table can't carry the value " + Json::write(value) +
                                       ", which is not the text that belongs here; set a text, or export JSON",
                                   Tree::join(Tree::join(path, Key::values), column->name)};
                return;
            }
            m_table.text += m_form.separator;
            TableText::append_cell(m_table.text, column->cell_of(value));
        }
        m_table.text += TableText::row_end;
    }

    Inspection const& m_inspection;
    std::string const& m_type;
    TableText::Form const& m_form;
    TableColumns m_columns;
    std::vector<TableColumn const*> m_used;
    WrittenTable m_table;
};

} // namespace

WrittenTable write_table(Inspection const& inspection, std::string const& type, TableText::Form const& form)
{
    return TableWriter(inspection, type, form).write();
}

} // namespace Ravik
