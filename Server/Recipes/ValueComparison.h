#pragma once

#include "Execution/SymbolTable.h"

#include "RavikSrvExtApi.h"

#include <map>
#include <string>

namespace Ravik
{

/// Tells whether a stored value stands in the controller, by the rules by which recipes are active: the value read is
/// converted to the stored one's type; doubles agree within the epsilon of their width, everything else exactly.
class ValueComparison
{
public:
    /// `configuration` is the recipe management's, `recipe` one of its recipes. The symbols outlive it.
    ValueComparison(SymbolTable const& symbols, RavikSrv::Value const& configuration, RavikSrv::Value const& recipe);

    /// What the recipe's value under a name stands for.
    struct Target
    {
        /// Whether the recipe's type knows the name at all.
        bool is_member = false;
        /// The symbol that the member is bound to, empty for one that nests a type.
        std::string symbol;
        /// The symbol's domain.
        std::string domain;
    };

    Target target_of(std::string const& member) const;
    bool agree(Target const& target, RavikSrv::Value const& stored, RavikSrv::Value const& current) const;

private:
    SymbolTable const& m_symbols;
    /// The symbols of the members by their names.
    std::map<std::string, std::string> m_members;
};

} // namespace Ravik
