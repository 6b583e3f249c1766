#include "ValueComparison.h"

#include "Configuration/MemberIndex.h"
#include "Configuration/configuration_keys.h"

#include "algorithm_helper.h"
#include "api_helper.h"
#include "value_comparison.h"

namespace Ravik::CommandLine
{

using RavikSrv::Value;
using RavikSrv::Algorithm::to_string;

ValueComparison::ValueComparison(Project const& project, Value const& configuration, Value const& recipe)
{
    MemberIndex index(configuration);
    auto const* const members = index.members_of(to_string(recipe[Key::recipe_type_name]));
    static MemberIndex::Members const none;
    for (auto const& [name, place] : members == nullptr ? none : *members)
    {
        auto const* const member = RavikSrv::node_path(place.path, configuration).node;
        m_symbols[name] = place.nests_type || member == nullptr ? std::string() : to_string((*member)[Key::symbol]);
    }
    for (auto const& symbol : project.symbols())
    {
        m_is_float[symbol.name] = RavikSrv::describes_float(symbol.schema);
    }
}

std::string ValueComparison::symbol_of(std::string const& member) const
{
    auto const found = m_symbols.find(member);
    return found == m_symbols.end() ? std::string() : found->second;
}

bool ValueComparison::agree(std::string const& member, Value const& stored, Value const& current) const
{
    auto const found = m_is_float.find(RavikSrv::name_from_path(symbol_of(member).c_str()));
    return RavikSrv::values_agree(stored, current, found != m_is_float.end() && found->second);
}

} // namespace Ravik::CommandLine
