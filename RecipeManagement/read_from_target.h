#pragma once

#include "RecipeRequest.h"

#include <vector>

namespace RecipeManagement
{

class AnswerValues;
struct ReadGroup;

/// One reading of the values that the symbols of a recipe hold.
class ReadFromTarget : private RecipeRequest
{
public:
    /// The configuration and the symbol table must outlive the request.
    ReadFromTarget(Call const& call, Command& command, Value const& config, Value const& symbol_mapping);

    /// Sets what was read, in the format of a recipe, as the command's read value.
    void read_from_target();

    /// The records of the recipe, good where the command has not failed.
    SymbolList& symbols() noexcept { return m_symbols; }

private:
    /// Reads the symbols of a domain and adds what was read to `values`. Returns false where that failed and the
    /// request must end.
    [[nodiscard]] bool create_cmd_group_and_read_from_target(ReadGroup& reads, AnswerValues& values);

    Value const& m_symbol_mapping;
};

} // namespace RecipeManagement
