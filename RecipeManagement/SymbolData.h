#pragma once

#include "TextView.h"

namespace RecipeManagement
{

/// One symbol, or one recipe type, that is reached while a recipe is resolved. Its texts stand in the types and in the
/// symbol table that it was made from.
struct SymbolData
{
    SymbolData() = default;
    /// The record of a type, also the key to search one with.
    SymbolData(bool record_is_recipetype, TextView record_name) : name(record_name), is_recipetype(record_is_recipetype)
    {
    }

    /// The controller symbol of a member; empty in the record of a type.
    TextView symbol;
    /// The inherited or nested recipe type through which the member was reached; empty for a direct member.
    TextView recipetype;
    /// The member's name; in the record of a type, the member or recipe type that it stands for.
    TextView name;
    /// What the recipe assigns, or what was read from the controller; null until then.
    Value value;
    /// The server domain that serves the symbol.
    TextView domain;
    /// The member's flag.
    bool enabled = false;
    /// Whether the symbol is addressed in the domain that serves it, not through the server.
    bool use_mapping = false;
    /// Whether this stands for a recipe type, not for a symbol.
    bool is_recipetype = false;
    /// What the member is given where the recipe has no value for it.
    Value default_value;
    /// The member's own schema.
    Value schema;
};

/// Whether both stand for the same symbol or type. What is known about it takes no part.
bool operator==(SymbolData const& left, SymbolData const& right) noexcept;

} // namespace RecipeManagement
