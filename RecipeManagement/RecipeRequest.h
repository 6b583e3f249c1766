#pragma once

#include "Call.h"
#include "SymbolList.h"
#include "recipe_result.h"

#include <string>

namespace RecipeManagement
{

/// What the requests for one recipe have in common: the recipe that they name, its records, and the judgement of what
/// was executed for them. Refers to the command, on which every failure is told; made for one call.
class RecipeRequest
{
public:
    RecipeRequest(RecipeRequest const&) = delete;
    RecipeRequest& operator=(RecipeRequest const&) = delete;

protected:
    RecipeRequest(Call const& call, Command& command) : m_call(call), m_command(command) {}
    ~RecipeRequest() = default;

    /// Takes the full path of the recipe that the parameters name. Returns false where they are no struct.
    [[nodiscard]] bool requested_recipe();
    /// Resolves the requested recipe in the configuration into its records. Returns false where that failed; `failure`
    /// is then the command's result.
    [[nodiscard]] bool resolve_recipe(RecipeResult failure);
    /// Judges an executed group; `group_error` is what its execution returned. Returns false where the group counts as
    /// failed, with `partly_failed` as the command's result where the server did its part.
    [[nodiscard]] bool handle_read_errors(ErrorValue group_error, CommandGroup const& group,
                                          RecipeResult partly_failed) const;

    Call const m_call;
    Command& m_command;
    Value m_config;
    std::string m_recipe_path;
    SymbolList m_symbols;
};

} // namespace RecipeManagement
