#include "RavikRecipeManagement.h"
#include "configuration_keys.h"
#include "recipe_config_handler/recipe_values_check.h"
#include "result_pair.h"
#include "value_text.h"

#include "algorithm_helper.h"
#include "api_helper.h"
#include "boundary_guard.h"

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/unordered/unordered_flat_set.hpp>

#include <algorithm>
#include <array>
#include <locale>
#include <utility>

namespace RecipeManagement
{

// The shared check ----------------------------------------------------------------------------------------------------

namespace
{

/// Words that have a meaning inside an entry. Paths are matched by substring, so no entry may bear one in its name.
bool holds_reserved_word(std::string const& path)
{
    constexpr std::array words{Key::members, Key::options, Key::values, Key::recipe_type_names, Key::recipe_type_name};
    return std::any_of(words.begin(), words.end(), [&](auto const* word) { return Algorithm::contains(path, word); }) ||
           (Algorithm::contains(path, Key::recipe_type_list) && !Algorithm::starts_with(path, Key::recipe_type_list));
}

/// Whether the type is that of an entry. The server's own types and untyped values may stand inside entries.
bool is_foreign(std::string const& schema_type)
{
    return !schema_type.empty() && !Algorithm::starts_with(schema_type, SchemaType::server_prefix);
}

/// One check of a change or an import. Import data stand for the stored configuration where they are given. Without the
/// internal interface of the host nothing tells whether a value fits its schema; the other checks are made all the
/// same.
class ChangeCheck
{
public:
    ChangeCheck(Call const& call, Value const& import_data) : m_call(call), m_import_data(import_data) {}

    [[nodiscard]] ResultPair import_change(std::string const& path, Value const& value, std::string const& schema_type);

private:
    /// A recipe without a type is held against nothing.
    [[nodiscard]] ResultPair check_recipe(std::string const& path, Value const& recipe);
    /// Whether the symbol is mapped.
    [[nodiscard]] ResultPair check_symbol(char const* symbol) const;
    /// Whether nested types are no inherited ones and default values fit.
    [[nodiscard]] ResultPair validate_recipe_type(Value const& recipe_type);
    [[nodiscard]] ResultPair validate_default_value(Value const& member) const;

    /// The configuration that a check is made against.
    Value const& in_effect() const { return m_import_data.empty() ? m_stored : m_import_data; }

    Call const m_call;
    Value const& m_import_data;
    Value m_stored;
};

ResultPair ChangeCheck::import_change(std::string const& path, Value const& value, std::string const& schema_type)
{
    if (holds_reserved_word(path) && is_foreign(schema_type))
    {
        return {ErrorValue::BLACKLISTED, schema_type.c_str()};
    }
    if (Algorithm::starts_with(path, Key::recipe_list) && schema_type == SchemaType::recipe)
    {
        return check_recipe(path, value);
    }
    if (!Algorithm::starts_with(path, Key::recipe_type_list))
    {
        return ErrorValue::SUCCESS;
    }
    if (value.type() == ValueType::String && Algorithm::ends_with(path, Key::symbol))
    {
        if (auto result = check_symbol(value.get_string()); failed(result))
        {
            return result;
        }
    }
    return schema_type == SchemaType::recipe_type ? validate_recipe_type(value) : ResultPair(ErrorValue::SUCCESS);
}

ResultPair ChangeCheck::check_recipe(std::string const& path, Value const& recipe)
{
    m_stored = m_call.read_configuration();
    std::string const type_name = text_of(recipe[Key::recipe_type_name]);
    if (type_name.empty())
    {
        return ErrorValue::SUCCESS;
    }
    auto const type_path = add_path_recipetypelist(type_name);
    auto const is_imported = RavikSrv::follow_hmi_path(type_path, m_import_data).first;
    if (!is_imported && RavikSrv::node_path(type_path, std::as_const(m_stored)).node == nullptr)
    {
        return {ErrorValue::TYPE_MISSING, type_name.c_str()};
    }
    return validate_recipe_values(m_call, in_effect(), path, recipe);
}

ResultPair ChangeCheck::check_symbol(char const* symbol) const
{
    auto const table = m_call.read_symbol_table();
    auto const& mapping = table[RavikSrv::name_from_path(symbol).c_str()];
    return mapping.isset() ? ResultPair(ErrorValue::SUCCESS) : ResultPair(ErrorValue::SYMBOL_NOT_MAPPED, symbol);
}

// Recipe types --------------------------------------------------------------------------------------------------------

/// The types that a recipe type inherits, one level up and two. Made once for all members, and without following the
/// ancestry any further: what lies beyond the second level has no say.
class InheritedTypes
{
public:
    /// `names` are those of the types that are inherited, found in `config`.
    InheritedTypes(Value const& names, Value const& config)
    {
        boost::unordered_flat_set<std::string> walked;
        for (auto entry = names.begin_vector(); entry != names.end_vector(); ++entry)
        {
            std::string const name = text_of(*entry);
            m_folded.insert(folded(name));
            auto const* const type = RavikSrv::node_path(add_path_recipetypelist(name), config).node;
            if (type != nullptr && walked.insert(name).second)
            {
                add((*type)[Key::recipe_type_names]);
            }
        }
    }

    /// Whether the type is inherited directly or by a directly inherited type, whatever the case of its letters.
    bool is_recipetype_inherited(std::string const& name) const { return m_folded.contains(folded(name)); }

private:
    static std::string folded(std::string const& name)
    {
        return boost::algorithm::to_lower_copy(name, std::locale::classic());
    }

    void add(Value const& names)
    {
        for (auto entry = names.begin_vector(); entry != names.end_vector(); ++entry)
        {
            m_folded.insert(folded(text_of(*entry)));
        }
    }

    boost::unordered_flat_set<std::string> m_folded;
};

ResultPair ChangeCheck::validate_recipe_type(Value const& recipe_type)
{
    m_stored = m_call.read_configuration();
    InheritedTypes const inherited(recipe_type[Key::recipe_type_names], in_effect());
    auto const& members = recipe_type[Key::members];
    for (auto const& member : members)
    {
        std::string const nested = text_of(member[Key::recipe_type]);
        if (!nested.empty() && inherited.is_recipetype_inherited(nested))
        {
            auto const text = nested + " - " + result_name(RecipeResult::INHERITED_AND_NESTED_RECIPETYPE_IS_EQUAL);
            return {ErrorValue::INVALID_PARAMETER, text.c_str()};
        }
        if (auto result = validate_default_value(member); failed(result))
        {
            return result;
        }
    }
    return ErrorValue::SUCCESS;
}

ResultPair ChangeCheck::validate_default_value(Value const& member) const
{
    auto* const host = m_call.internal_host();
    if (host == nullptr)
    {
        return ErrorValue::SUCCESS;
    }
    auto const& default_value = member[Key::default_value];
    if (auto const& schema = member[Key::schema]; schema.isset())
    {
        if (auto result = host->validate(schema, default_value, ""); failed(result))
        {
            return result;
        }
    }
    if (auto const& symbol = member[Key::symbol]; symbol.isset())
    {
        auto const* const name = text_of(symbol);
        if (auto const result = host->validate_symbol_value(name, default_value); failed(result))
        {
            return {result.result(), (std::string("Invalid default value at: ") + name).c_str()};
        }
    }
    return ErrorValue::SUCCESS;
}

} // namespace

// The callbacks -------------------------------------------------------------------------------------------------------

ResultPair RavikRecipeManagement::before_change(Context context, char const* path, Value& value,
                                                char const* schema_type)
{
    return RavikSrv::guarded_result("before_change",
                                    [&] { return import_change(context, path, value, Value(), schema_type); });
}

ResultPair RavikRecipeManagement::before_import(Context context, char const* path, Value& value,
                                                Value const& import_data, char const* schema_type)
{
    return RavikSrv::guarded_result("before_import",
                                    [&] { return import_change(context, path, value, import_data, schema_type); });
}

ResultPair RavikRecipeManagement::import_change(Context const& context, std::string const& path, Value const& value,
                                                Value const& import_data, std::string const& schema_type)
{
    return ChangeCheck(call_in(context), import_data).import_change(path, value, schema_type);
}

} // namespace RecipeManagement
