#pragma once

#include "api_types.h"

#include <cstdint>
#include <string>

namespace RecipeManagement
{

/// The extension's own result codes. Clients see the numbers, so an enumerator never changes its value.
enum class RecipeResult : std::uint32_t
{
    SUCCESS = 0,
    ACTIVATING_FAILED = 1,
    ACTIVATING_RECIPE_PARTLY_FAILED = 2,
    READ_FROM_TARGET_FAILED = 3,
    READ_FROM_TARGET_PARTLY_FAILED = 4,
    UPDATING_RECIPE_FAILED = 5,
    UPDATING_RECIPE_PARTLY_FAILED = 6,
    DELETE_RENAME_PARTLY_FAILED = 7,
    MISSING_RECIPE_VALUES = 8,
    INVALID_WRITEVALUE = 9,
    MISSING_RECIPE_DATA = 10,
    MISSING_RECIPETYPE = 11,
    MISSING_RECIPETYPE_MEMBERS = 12,
    MISSING_RECIPETYPE_SYMBOLS = 13,
    MISSING_RECIPETYPE_DATA = 14,
    INHERITED_AND_NESTED_RECIPETYPE_IS_EQUAL = 15,
    SYMBOL_NOT_MAPPED = 16,
    MULTIPLE_VALUES_ASSIGNED_TO_SYMBOL = 17,
    INHERITED_SYMBOL_ALREADY_EXISTS = 18,
    RECURSION = 19,
    SCHEMA = 20,
    VALIDATION_FAILED = 21,
    SERVER_ERROR = 22,
};

/// The enumerator's name; an empty text for a number that is none.
char const* result_name(std::uint32_t code) noexcept;
char const* result_name(RecipeResult code) noexcept;

/// Sets the command's extension result and leaves its text alone.
void set_command_result(Command& command, RecipeResult code) noexcept;

/// Marks the command as failed: its result string becomes "Server: " followed by `text`, its extension result `code`.
/// Nothing else of it is touched; the caller decides whether to go on.
void set_command_error(Command& command, std::string const& text, RecipeResult const& code);

} // namespace RecipeManagement
