#include "Editing/table_columns.h"

#include "Configuration/MemberIndex.h"
#include "Configuration/configuration_keys.h"
#include "Configuration/recipe_needs.h"
#include "Json/Json.h"

#include "api_helper.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace Ravik
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

constexpr char guard = '\'';

bool is_word(std::string_view text, std::string_view lower_case)
{
    return std::equal(text.begin(), text.end(), lower_case.begin(), lower_case.end(),
                      [](char left, char right) { return (left | 0x20) == right; });
}

/// Whether a spreadsheet would take the text for something else than text, or drop its apostrophe.
bool needs_guard(std::string_view text)
{
    // The last four are the wide forms of = + - and @.
    constexpr std::array<std::string_view, 10> formulas{
        "=", "+", "-", "@", "\t", "\r", "\n", "\xEF\xBC\x9D", "\xEF\xBC\x8B", "\xEF\xBC\x8D"};
    auto const first = text.find_first_not_of(' ');
    if (first == std::string_view::npos)
    {
        return text.empty();
    }
    text.remove_prefix(first);
    return text.front() == guard || text.front() == '.' || (text.front() >= '0' && text.front() <= '9') ||
           text.starts_with("\xEF\xBC\xA0") || is_word(text, "true") || is_word(text, "false") ||
           std::any_of(formulas.begin(), formulas.end(),
                       [text](std::string_view formula) { return text.starts_with(formula); });
}

/// Whether a schema names all values that fit it, and these are texts.
bool lists_texts(Value const& schema)
{
    Value const& listed = schema["enum"];
    return !listed.empty() && std::all_of(listed.begin_vector(), listed.end_vector(),
                                          [](Value const& value) { return value.type() == ValueType::String; });
}

/// Whether every value but a text is of a wrong type for the symbol.
bool takes_texts_alone(SymbolReference const& reference)
{
    if (reference.symbol == nullptr)
    {
        return false;
    }
    if (reference.rest.empty() && lists_texts(reference.symbol->schema))
    {
        return true;
    }
    auto const is_of_type = [&](Value const& value)
    { return reference.symbol->check(reference.rest, value).result() != ErrorValue::TYPE_MISMATCH; };
    std::array const others{Value(true), Value(1), Value(1.5), Value(ValueType::Vector), Value(ValueType::Map)};
    return is_of_type(Value("")) && std::none_of(others.begin(), others.end(), is_of_type);
}

/// A whole number in the place of a double: the double that it stands for, where there is exactly one.
Value in_place_of(Value const& present, Value const& number)
{
    auto const real = static_cast<double>(number.get_int64());
    // Zero may be the negative one, and a large one may have been written without its exponent.
    if (real == present.get_double())
    {
        return present;
    }
    constexpr double exact = 9007199254740992.0;
    return std::fabs(real) < exact ? Value(real) : number;
}

} // namespace

// Cells ---------------------------------------------------------------------------------------------------------------

std::string name_cell(std::string_view name)
{
    return needs_guard(name) ? guard + std::string(name) : std::string(name);
}

std::string name_of_cell(std::string_view cell)
{
    return std::string(cell.starts_with(guard) ? cell.substr(1) : cell);
}

std::string TableColumn::cell_of(Value const& value) const
{
    if (!value.isset())
    {
        return {};
    }
    return holds_texts && value.type() == ValueType::String ? name_cell(value.get_text()) : Json::write(value);
}

Value TableColumn::value_of(std::string_view cell, Value const& present) const
{
    if (cell.empty())
    {
        return {};
    }
    if (holds_texts || cell.front() == guard)
    {
        Value text(cell.starts_with(guard) ? cell.substr(1) : cell);
        return text;
    }
    // Spreadsheets write these in capitals.
    auto value = cell == "TRUE" ? Value(true) : cell == "FALSE" ? Value(false) : Json::parse(cell);
    auto const is_whole = value.type() == ValueType::Int || value.type() == ValueType::Int64;
    return is_whole && present.type() == ValueType::Double ? in_place_of(present, value) : value;
}

bool TableColumn::carries(Value const& value) const
{
    return !holds_texts || !value.isset() || value.type() == ValueType::String;
}

// Columns -------------------------------------------------------------------------------------------------------------

TableColumns::TableColumns(Inspection const& inspection, std::string const& type)
{
    MemberIndex index(inspection.tree);
    auto const* const known = index.members_of(type);
    if (known == nullptr)
    {
        return;
    }
    for (auto const& [name, target] : *known)
    {
        add(inspection, name, RavikSrv::node_path(target.path, inspection.tree).node, target.nests_type);
    }
    for (auto const& member : own_members(type, inspection.tree))
    {
        m_members.push_back(find(member.name));
    }
}

void TableColumns::add(Inspection const& inspection, std::string const& name, Value const* member, bool nests_type)
{
    TableColumn column{.name = name, .holds_texts = nests_type};
    if (member != nullptr && !nests_type)
    {
        // The text lies in the tree, which the inspection keeps.
        column.symbol = inspection.symbols.find((*member)[Key::symbol].get_text());
        column.holds_texts = takes_texts_alone(column.symbol);
        Value const& schema = (*member)[Key::member_schema];
        auto const is_usable = inspection.validator.schema_error(schema).result() == ErrorValue::SUCCESS;
        column.schema = is_usable ? schema : Value();
    }
    m_all.emplace(name, std::move(column));
}

TableColumn const* TableColumns::find(std::string_view name) const
{
    auto const found = m_all.find(name);
    return found == m_all.end() ? nullptr : &found->second;
}

} // namespace Ravik
