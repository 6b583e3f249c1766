#include "InheritedDefaults.h"
#include "Member.h"
#include "NameMap.h"
#include "RavikRecipeManagement.h"
#include "RecipeRequest.h"
#include "configuration_keys.h"
#include "result_pair.h"
#include "value_text.h"

#include "algorithm_helper.h"
#include "api_helper.h"

#include <optional>
#include <string>
#include <utility>

namespace RecipeManagement
{

namespace
{

constexpr auto remove_entry = static_cast<RavikSrv::CommandOption>(2048);
constexpr auto replace_entry = static_cast<RavikSrv::CommandOption>(128);

/// Why a check ended an update: what the command is to say.
struct UpdateFailure
{
    RecipeResult code;
    std::string text;
};

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

/// One update of a stored recipe: drops what its type no longer has, fills in what it lacks, and checks the values.
class UpdateRecipe : private RecipeRequest
{
public:
    UpdateRecipe(Call const& call, Command& command) : RecipeRequest(call, command) {}

    void update_recipe();

private:
    void update_values();
    /// Empties the values of a recipe whose type has no members.
    void clear_values();
    /// Removes the values that no record stands for; the command's read value then tells which.
    void drop_stale_values(Value const& values);
    bool drop(std::string const& path);
    /// Fills in the members of the recipe's own type that have no value; `values` are those that the recipe holds.
    [[nodiscard]] std::optional<UpdateFailure> validate_members(Value const& members, Value const& values);
    [[nodiscard]] std::optional<UpdateFailure> fill_in(char const* name, Value const& value) const;
    /// Checks the values of the symbols that no other type brought along, and resets those of a wrong type.
    [[nodiscard]] std::optional<UpdateFailure> validate_recipe_schema();
    [[nodiscard]] std::optional<UpdateFailure> validate_value(IInternalHost& host, SymbolData const& record) const;
    /// Writes one value of the recipe.
    [[nodiscard]] ErrorValue write_value(std::string const& name, Value const& value) const;

    std::string m_values_path;
};

void UpdateRecipe::update_recipe()
{
    if (!requested_recipe())
    {
        return;
    }
    m_config = m_call.read_configuration();
    if (!resolve_recipe(RecipeResult::UPDATING_RECIPE_FAILED))
    {
        return;
    }
    m_values_path = join_path(m_recipe_path, Key::values);
    m_symbols.empty() ? clear_values() : update_values();
}

void UpdateRecipe::clear_values()
{
    Value none;
    none.set_type(ValueType::Map);
    Command replacement(m_call.config_command(m_values_path).c_str());
    replacement.set_options(replace_entry);
    replacement.set_write_value(none);
    auto const error = m_call.execute(replacement);
    if (error == ErrorValue::SUCCESS && replacement.result() == ErrorValue::SUCCESS)
    {
        set_command_result(m_command, RecipeResult::SUCCESS);
        return;
    }
    set_command_error(m_command, RavikSrv::get_error_string(replacement.result()).name(),
                      RecipeResult::UPDATING_RECIPE_FAILED);
}

void UpdateRecipe::update_values()
{
    Value const& config = m_config;
    auto const* const values = RavikSrv::node_path(m_values_path, config).node;
    if (values == nullptr)
    {
        set_command_result(m_command, RecipeResult::MISSING_RECIPE_VALUES);
        return;
    }
    auto const* const type = RavikSrv::node_path(join_path(m_recipe_path, Key::recipe_type_name), config).node;
    std::string const type_name = type != nullptr ? text_of(*type) : "";
    auto const* const members =
        RavikSrv::node_path(join_path(add_path_recipetypelist(type_name), Key::members), config).node;
    if (members == nullptr)
    {
        set_command_result(m_command, RecipeResult::MISSING_RECIPETYPE_MEMBERS);
        return;
    }
    drop_stale_values(*values);
    InheritedDefaults inherited(m_call, m_command, config, m_values_path, *values, m_symbols);
    inherited.recipe_add_inherited_symbols(type_name);
    auto failure = validate_members(*members, inherited.held());
    if (!failure)
    {
        failure = validate_recipe_schema();
    }
    if (failure)
    {
        set_command_error(m_command, failure->text, failure->code);
    }
    else if (m_command.extension_result() == 0)
    {
        set_command_result(m_command, RecipeResult::SUCCESS);
    }
}

void UpdateRecipe::drop_stale_values(Value const& values)
{
    Value info;
    info.set_type(ValueType::Vector);
    for (auto value = values.begin(); value != values.end(); ++value)
    {
        if (m_symbols.find_name(value.name()) != nullptr)
        {
            continue;
        }
        // The others are dropped whatever comes of this one.
        auto const path = join_path(m_values_path, value.name());
        if (drop(path))
        {
            info << Value((path + " not found in recipeType: Deleted").c_str());
        }
    }
    if (!info.empty())
    {
        Value answer;
        answer.set_type(ValueType::Map);
        answer.insert(Key::info, info);
        m_command.set_read_value(answer);
    }
}

/// Returns whether the value is gone, which it may be although the host tells of a failure.
bool UpdateRecipe::drop(std::string const& path)
{
    Command removal(m_call.config_command(path).c_str());
    removal.set_options(remove_entry);
    auto const error = m_call.execute(removal);
    for (auto const failure : {error, removal.result()})
    {
        if (failure != ErrorValue::SUCCESS)
        {
            set_command_error(m_command, RavikSrv::get_error_string(failure).name(),
                              RecipeResult::UPDATING_RECIPE_PARTLY_FAILED);
        }
    }
    return removal.result() == ErrorValue::SUCCESS;
}

std::optional<UpdateFailure> UpdateRecipe::validate_members(Value const& members, Value const& values)
{
    MemberRecords const records(m_symbols);
    MemberReader reader;
    for (auto entry = members.begin(); entry != members.end(); ++entry)
    {
        auto const* const name = entry.name();
        auto* const record = reader.read(entry).symbol.empty() ? nullptr : records.find(name);
        std::optional<UpdateFailure> failure;
        if (record == nullptr)
        {
            // The member nests a type; no recipe is named yet.
            failure = values.find(name) != values.end() ? std::nullopt : fill_in(name, Value(""));
        }
        else if (auto const* const other = records.find_contradiction(*record); other != nullptr)
        {
            failure = UpdateFailure{RecipeResult::MULTIPLE_VALUES_ASSIGNED_TO_SYMBOL,
                                    std::string(other->recipetype) + ": " + std::string(other->name)};
        }
        // A value that lies on another record of that name, or comes from a nested recipe, is a value as well.
        else if (!record->value.isset() && !values[name].isset() && record->default_value.isset())
        {
            failure = fill_in(name, record->default_value);
            record->value = record->default_value;
        }
        if (failure)
        {
            return failure;
        }
    }
    return std::nullopt;
}

std::optional<UpdateFailure> UpdateRecipe::fill_in(char const* name, Value const& value) const
{
    auto const error = write_value(name, value);
    return error == ErrorValue::SUCCESS ? std::nullopt
                                        : std::optional(UpdateFailure{RecipeResult::UPDATING_RECIPE_FAILED,
                                                                      RavikSrv::get_error_string(error).name()});
}

std::optional<UpdateFailure> UpdateRecipe::validate_recipe_schema()
{
    auto* const host = m_call.internal_host();
    if (host == nullptr)
    {
        return UpdateFailure{RecipeResult::VALIDATION_FAILED,
                             RavikSrv::get_error_string(ErrorValue::NOT_IMPLEMENTED).name()};
    }
    for (auto const& record : m_symbols)
    {
        // The members of other types are checked when the recipes of their types are updated.
        if (record.is_recipetype || !record.recipetype.empty())
        {
            continue;
        }
        if (auto failure = validate_value(*host, record))
        {
            return failure;
        }
        // The default value, on purpose: the symbol has judged the recipe's.
        auto const default_fits =
            record.schema.isset() ? host->validate(record.schema, record.default_value, "") : ResultPair();
        if (failed(default_fits))
        {
            return UpdateFailure{RecipeResult::SCHEMA, name_and_text(default_fits)};
        }
    }
    return std::nullopt;
}

std::optional<UpdateFailure> UpdateRecipe::validate_value(IInternalHost& host, SymbolData const& record) const
{
    auto const fits = host.validate_symbol_value(record.symbol.c_str(), record.value);
    if (!failed(fits))
    {
        return std::nullopt;
    }
    auto const is_wrong_type =
        fits.result() == ErrorValue::TYPE_MISMATCH || fits.result() == ErrorValue::ENUM_VALUE_MISMATCH;
    if (is_wrong_type && !record.value.isset())
    {
        // Where there is no value there is none to reset; what stands under that name belongs to another record.
        return std::nullopt;
    }
    if (!is_wrong_type || !record.default_value.isset())
    {
        return UpdateFailure{RecipeResult::SCHEMA, name_and_text(fits)};
    }
    auto const error = write_value(record.name.c_str(), record.default_value);
    return error == ErrorValue::SUCCESS ? std::nullopt
                                        : std::optional(UpdateFailure{RecipeResult::VALIDATION_FAILED,
                                                                      RavikSrv::get_error_string(error).name()});
}

ErrorValue UpdateRecipe::write_value(std::string const& name, Value const& value) const
{
    Value written;
    written.set_type(ValueType::Map);
    written.insert(name.c_str(), value);
    return m_call.write(m_values_path, written);
}

} // namespace

void RavikRecipeManagement::update_recipe(Context const& context, Command& command)
{
    UpdateRecipe(call_in(context), command).update_recipe();
}

} // namespace RecipeManagement
