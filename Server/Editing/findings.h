#pragma once

#include "Execution/SymbolTable.h"
#include "RavikSrvExtApi.h"
#include "Schema/Validator.h"

#include <functional>
#include <string>
#include <vector>

namespace Ravik
{

/// Something in a configuration that is wrong or, as a note, worth knowing.
struct Finding
{
    enum class Kind
    {
        /// A reference that leads nowhere.
        Reference,
        /// A symbol that ravik.json does not map.
        Symbol,
        /// A symbol that no activation would write.
        NeverWritten,
        /// A schema that can't be used.
        Schema,
        /// A value that does not fit its symbol or member.
        Value,
        /// An entry that an import would be refused for.
        Entry,
        // Notes.
        StrayValue,
        NoValue,
        NoRecipe,
    };

    Kind kind = Kind::Reference;
    std::string path;
    /// What is wrong and what to do, for a person.
    std::string text;

    bool is_note() const noexcept { return kind >= Kind::StrayValue; }
    friend bool operator==(Finding const& left, Finding const& right) = default;
};

/// The word for a kind: "reference", "never written", …
char const* to_text(Finding::Kind kind) noexcept;

/// What a configuration is held against.
struct Inspection
{
    RavikSrv::Value tree;
    SymbolTable const& symbols;
    Validator& validator;
};

/// What is wrong in the configuration, in the order of the tree. Takes time linear in it.
std::vector<Finding> find_faults(Inspection const& inspection);

/// The variables of the server's own whose values do not fit their symbols; `server_tree` is its own configuration.
std::vector<Finding> find_unfit_variables(SymbolTable const& symbols, RavikSrv::Value const& server_tree);

/// The stored values that do not fit, of those recipes whose type's path `is_of_interest` wants.
std::vector<Finding> find_misfits(Inspection const& inspection,
                                  std::function<bool(std::string const& type_path)> const& is_of_interest);

} // namespace Ravik
