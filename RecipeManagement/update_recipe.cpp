#include "Member.h"
#include "NameMap.h"
#include "RavikRecipeManagement.h"
#include "configuration_keys.h"
#include "value_text.h"

#include "algorithm_helper.h"
#include "api_helper.h"

namespace RecipeManagement
{

namespace Algorithm = RavikSrv::Algorithm;
using RavikSrv::Command;
using RavikSrv::Context;
using RavikSrv::ErrorValue;
using RavikSrv::ResultPair;
using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

constexpr auto remove_entry = static_cast<RavikSrv::CommandOption>(2048);
constexpr auto replace_entry = static_cast<RavikSrv::CommandOption>(128);

/// A command that addresses an entry of the extension's configuration.
Command config_command(Context const& context, std::string const& path, RavikSrv::CommandOption options)
{
    Command command(join_path(std::string(context.domain()) + ".Config", path).c_str());
    command.set_options(options);
    return command;
}

ResultPair member_failure(RecipeResult code, std::string const& text)
{
    return {static_cast<ErrorValue>(code), text.c_str()};
}

std::string name_and_text(ResultPair const& result)
{
    return RavikSrv::get_error_string(result.result()).name() + (" - " + std::string(result.text()));
}

/// What is assigned to the symbol of a record.
Value const& assigned(SymbolData const& record)
{
    return record.value.isset() ? record.value : record.default_value;
}

/// The records as the check of a type's members asks for them.
class MemberRecords
{
public:
    explicit MemberRecords(SymbolList& symbols)
    {
        for (auto& record : symbols)
        {
            if (!record.is_recipetype)
            {
                add(record);
            }
        }
    }

    /// The record of a member of the recipe's own type, null where there is none.
    SymbolData* find(char const* name) const
    {
        auto const found = m_by_name.find(std::string_view(name));
        return found == m_by_name.end() ? nullptr : found->second;
    }

    /// The first record that assigns another value to the same symbol, null where there is none. A record that assigns
    /// none contradicts nobody.
    SymbolData const* find_contradiction(SymbolData const& record) const
    {
        auto const found = m_by_symbol.find(std::string_view(record.symbol));
        if (found == m_by_symbol.end() || !assigned(record).isset())
        {
            return nullptr;
        }
        auto const [first, first_other] = found->second;
        return assigned(*first) == assigned(record) ? first_other : first;
    }

private:
    /// The first record that assigns a value to a symbol, and the first that assigns another one.
    struct Assignments
    {
        SymbolData const* first;
        SymbolData const* first_other;
    };

    void add(SymbolData& record)
    {
        if (record.recipetype.empty())
        {
            m_by_name.emplace(record.name, &record);
        }
        if (!assigned(record).isset())
        {
            return;
        }
        auto& entry = m_by_symbol.emplace(record.symbol, Assignments{&record, nullptr}).first->second;
        if (entry.first_other == nullptr && assigned(*entry.first) != assigned(record))
        {
            entry.first_other = &record;
        }
    }

    NameMap<SymbolData*> m_by_name;
    NameMap<Assignments> m_by_symbol;
};

} // namespace

void RavikRecipeManagement::update_recipe(Context const& context, Command& command)
{
    std::string recipe_path;
    if (!requested_recipe(command, recipe_path))
    {
        return;
    }
    auto config = host->get_config_value(context, "");
    SymbolList symbols;
    if (!resolve_recipe(command, config, recipe_path, symbols, RecipeResult::UPDATING_RECIPE_FAILED))
    {
        return;
    }
    if (symbols.empty())
    {
        clear_values(context, command, join_path(recipe_path, Key::values));
        return;
    }
    update_values(context, command, config, recipe_path, symbols);
}

void RavikRecipeManagement::clear_values(Context const& context, Command& command, std::string const& values_path)
{
    Value none;
    none.set_type(ValueType::Map);
    auto replacement = config_command(context, values_path, replace_entry);
    replacement.set_write_value(none);
    auto const error = host->execute_command(context, &replacement);
    if (error == ErrorValue::SUCCESS && replacement.result() == ErrorValue::SUCCESS)
    {
        set_command_result(command, RecipeResult::SUCCESS);
        return;
    }
    set_command_error(command, RavikSrv::get_error_string(replacement.result()).name(),
                      RecipeResult::UPDATING_RECIPE_FAILED);
}

void RavikRecipeManagement::update_values(Context const& context, Command& command, Value const& config,
                                          std::string const& recipe_path, SymbolList& symbols)
{
    auto const values_path = join_path(recipe_path, Key::values);
    auto const* const values = RavikSrv::node_path(values_path, config).node;
    if (values == nullptr)
    {
        set_command_result(command, RecipeResult::MISSING_RECIPE_VALUES);
        return;
    }
    auto const* const type = RavikSrv::node_path(join_path(recipe_path, Key::recipe_type_name), config).node;
    std::string const type_name = type != nullptr ? text_of(*type) : "";
    auto const* const members =
        RavikSrv::node_path(join_path(add_path_recipetypelist(type_name), Key::members), config).node;
    if (members == nullptr)
    {
        set_command_result(command, RecipeResult::MISSING_RECIPETYPE_MEMBERS);
        return;
    }
    drop_stale_values(context, command, *values, values_path, symbols);
    recipe_add_inherited_symbols(context, command, type_name, config, values_path, 0);
    auto const members_valid = validate_members(context, values_path, *members, *values, symbols);
    if (members_valid.result() != ErrorValue::SUCCESS)
    {
        set_command_error(command, members_valid.text(), static_cast<RecipeResult>(members_valid.result()));
        return;
    }
    validate_recipe_schema(context, command, values_path, symbols);
    if (command.extension_result() == 0)
    {
        set_command_result(command, RecipeResult::SUCCESS);
    }
}

void RavikRecipeManagement::drop_stale_values(Context const& context, Command& command, Value const& values,
                                              std::string const& values_path, SymbolList& symbols)
{
    Value info;
    info.set_type(ValueType::Vector);
    for (auto value = values.begin(); value != values.end(); ++value)
    {
        if (symbols.find_name(value.name()) != nullptr)
        {
            continue;
        }
        auto const path = join_path(values_path, value.name());
        auto removal = config_command(context, path, remove_entry);
        auto const error = host->execute_command(context, &removal);
        if (removal.result() == ErrorValue::SUCCESS)
        {
            info << Value((path + " not found in recipeType: Deleted").c_str());
        }
        // The others are still dropped.
        for (auto const failure : {error, removal.result()})
        {
            if (failure != ErrorValue::SUCCESS)
            {
                set_command_error(command, RavikSrv::get_error_string(failure).name(),
                                  RecipeResult::UPDATING_RECIPE_PARTLY_FAILED);
            }
        }
    }
    if (!info.empty())
    {
        Value answer;
        answer.set_type(ValueType::Map);
        answer.insert(Key::info, info);
        command.set_read_value(answer);
    }
}

ResultPair RavikRecipeManagement::validate_members(Context const& context, std::string const& values_path,
                                                   Value const& members, Value const& values, SymbolList& symbols)
{
    MemberRecords const records(symbols);
    for (auto entry = members.begin(); entry != members.end(); ++entry)
    {
        auto const* const name = entry.name();
        auto* const record = Algorithm::empty(Member(entry).symbol) ? nullptr : records.find(name);
        if (record == nullptr)
        {
            // The member nests a type; no recipe is named yet.
            auto const error = values.find(name) != values.end() ? ErrorValue::SUCCESS
                                                                 : write_value(context, values_path, name, Value(""));
            if (error != ErrorValue::SUCCESS)
            {
                return member_failure(RecipeResult::UPDATING_RECIPE_FAILED, RavikSrv::get_error_string(error).name());
            }
            continue;
        }
        if (auto const* const other = records.find_contradiction(*record); other != nullptr)
        {
            return member_failure(RecipeResult::MULTIPLE_VALUES_ASSIGNED_TO_SYMBOL,
                                  other->recipetype + ": " + other->name);
        }
        // A value that lies on another record of that name, or comes from a nested recipe, is a value as well.
        if (record->value.isset() || values[name].isset() || !record->default_value.isset())
        {
            continue;
        }
        if (auto const error = write_value(context, values_path, name, record->default_value);
            error != ErrorValue::SUCCESS)
        {
            return member_failure(RecipeResult::UPDATING_RECIPE_FAILED, RavikSrv::get_error_string(error).name());
        }
        record->value = record->default_value;
    }
    return {};
}

void RavikRecipeManagement::validate_recipe_schema(Context const& context, Command& command,
                                                   std::string const& values_path, SymbolList const& symbols)
{
    if (internal_host == nullptr)
    {
        set_command_error(command, RavikSrv::get_error_string(ErrorValue::NOT_IMPLEMENTED).name(),
                          RecipeResult::VALIDATION_FAILED);
        return;
    }
    for (auto const& record : symbols)
    {
        // The members of other types are checked when the recipes of their types are updated.
        if (!record.is_recipetype && record.recipetype.empty() &&
            !validate_record(context, command, values_path, record))
        {
            return;
        }
    }
}

bool RavikRecipeManagement::validate_record(Context const& context, Command& command, std::string const& values_path,
                                            SymbolData const& record)
{
    auto const fits = internal_host->validate_symbol_value(record.symbol.c_str(), record.value);
    auto const is_wrong_type =
        fits.result() == ErrorValue::TYPE_MISMATCH || fits.result() == ErrorValue::ENUM_VALUE_MISMATCH;
    // Where there is no value there is none to reset; what stands under that name belongs to another record.
    auto const is_reset = is_wrong_type && record.value.isset() && record.default_value.isset();
    auto const is_accepted = fits.result() == ErrorValue::SUCCESS || (is_wrong_type && !record.value.isset());
    if (is_reset)
    {
        auto const error = write_value(context, values_path, record.name, record.default_value);
        if (error != ErrorValue::SUCCESS)
        {
            set_command_error(command, RavikSrv::get_error_string(error).name(), RecipeResult::VALIDATION_FAILED);
            return false;
        }
    }
    else if (!is_accepted)
    {
        set_command_error(command, name_and_text(fits), RecipeResult::SCHEMA);
        return false;
    }
    if (!record.schema.isset())
    {
        return true;
    }
    // The default value, on purpose: the symbol has judged the recipe's.
    auto const default_fits = internal_host->validate(record.schema, record.default_value, "");
    if (default_fits.result() != ErrorValue::SUCCESS)
    {
        set_command_error(command, name_and_text(default_fits), RecipeResult::SCHEMA);
        return false;
    }
    return true;
}

ErrorValue RavikRecipeManagement::write_value(Context const& context, std::string const& values_path,
                                              std::string const& name, Value const& value)
{
    Value written;
    written.set_type(ValueType::Map);
    written.insert(name.c_str(), value);
    return host->set_config_value(context, values_path.c_str(), &written);
}

} // namespace RecipeManagement
