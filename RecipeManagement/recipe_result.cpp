#include "recipe_result.h"

#include <array>

namespace RecipeManagement
{

namespace
{

/// By code.
constexpr std::array names{
    "SUCCESS",
    "ACTIVATING_FAILED",
    "ACTIVATING_RECIPE_PARTLY_FAILED",
    "READ_FROM_TARGET_FAILED",
    "READ_FROM_TARGET_PARTLY_FAILED",
    "UPDATING_RECIPE_FAILED",
    "UPDATING_RECIPE_PARTLY_FAILED",
    "DELETE_RENAME_PARTLY_FAILED",
    "MISSING_RECIPE_VALUES",
    "INVALID_WRITEVALUE",
    "MISSING_RECIPE_DATA",
    "MISSING_RECIPETYPE",
    "MISSING_RECIPETYPE_MEMBERS",
    "MISSING_RECIPETYPE_SYMBOLS",
    "MISSING_RECIPETYPE_DATA",
    "INHERITED_AND_NESTED_RECIPETYPE_IS_EQUAL",
    "SYMBOL_NOT_MAPPED",
    "MULTIPLE_VALUES_ASSIGNED_TO_SYMBOL",
    "INHERITED_SYMBOL_ALREADY_EXISTS",
    "RECURSION",
    "SCHEMA",
    "VALIDATION_FAILED",
    "SERVER_ERROR",
};
static_assert(names.size() == static_cast<std::size_t>(RecipeResult::SERVER_ERROR) + 1);

} // namespace

char const* result_name(std::uint32_t code) noexcept
{
    return code < names.size() ? names[code] : "";
}

char const* result_name(RecipeResult code) noexcept
{
    return result_name(static_cast<std::uint32_t>(code));
}

void set_command_result(Command& command, RecipeResult code) noexcept
{
    command.set_extension_result(static_cast<std::uint32_t>(code));
}

void set_command_error(Command& command, std::string const& text, RecipeResult const& code)
{
    command.set_result_string(("Server: " + text).c_str());
    set_command_result(command, code);
}

} // namespace RecipeManagement
