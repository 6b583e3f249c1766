#pragma once

#include "Project/Project.h"

#include "RavikSrvExtApi.h"

#include <map>
#include <string>
#include <vector>

namespace Ravik::CommandLine
{

/// Tells whether a stored value stands in the controller, by the rules by which recipes are active: the value read is
/// converted to the stored one's type; doubles agree within the epsilon of their width, everything else exactly.
class ValueComparison
{
public:
    /// `configuration` is the recipe management's, `recipe` one of its recipes.
    ValueComparison(Project const& project, RavikSrv::Value const& configuration, RavikSrv::Value const& recipe);

    bool agree(std::string const& member, RavikSrv::Value const& stored, RavikSrv::Value const& current) const;
    /// The symbol that the member is bound to, empty for one that nests a type.
    std::string symbol_of(std::string const& member) const;

private:
    std::map<std::string, std::string> m_symbols;
    /// The symbols that hold a 32-bit float.
    std::map<std::string, bool> m_is_float;
};

} // namespace Ravik::CommandLine
