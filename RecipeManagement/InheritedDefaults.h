#pragma once

#include "Call.h"
#include "NameMap.h"
#include "SymbolList.h"

#include <boost/unordered/unordered_flat_map.hpp>
#include <boost/unordered/unordered_flat_set.hpp>

#include <cstdint>
#include <string>

namespace RecipeManagement
{

/// Fills in the inherited members that a recipe lacks, each with its own default value, and never so that an activation
/// would write anything else: a value goes to the first record of its name, so a member is missing only where that
/// record is its own and has no value. Refers to all that it is made from; made for one call.
class InheritedDefaults
{
public:
    /// `values` are those that the recipe holds, stored at `values_path`; `symbols` are its records.
    InheritedDefaults(Call const& call, Command& command, Value const& config, std::string const& values_path,
                      Value values, SymbolList& symbols);

    /// Writes what the recipe lacks of the types that `recipetype_name`, its own, inherits. A failure stands on the
    /// command and ends the walk.
    void recipe_add_inherited_symbols(std::string const& recipetype_name);

    /// What the recipe holds, with all that has been filled in.
    Value const& held() const noexcept { return m_held; }

private:
    void collect_first_members(std::string const& recipetype_name);
    /// Returns false where the walk must end; the command then says why. The same holds for the others.
    [[nodiscard]] bool add(std::string const& recipetype_name, unsigned long depth);
    [[nodiscard]] bool add_from(std::string const& inherited_name);
    [[nodiscard]] bool write(Value const& missing);
    Value missing_of(Value const& members);
    bool is_missing(char const* name, Value const& member);
    bool is_repeated(std::string const& recipetype_name, unsigned long depth);

    Call const m_call;
    Command& m_command;
    Value const& m_config;
    std::string const& m_values_path;
    SymbolList& m_symbols;
    Value m_held;
    /// By name the first member with a symbol, in the order of the records.
    NameMap<Value const*> m_first_members;
    boost::unordered_flat_set<std::string> m_collected;
    /// The depths at which a type's inherited types have been walked, a bit for each.
    boost::unordered_flat_map<std::string, std::uint32_t> m_walked;
};

} // namespace RecipeManagement
