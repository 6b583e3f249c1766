#include "Recipes/ValueComparison.h"

#include "Configuration/MemberIndex.h"
#include "Configuration/configuration_keys.h"

#include "algorithm_helper.h"
#include "api_helper.h"
#include "value_comparison.h"

namespace Ravik
{

using RavikSrv::Value;
using RavikSrv::Algorithm::to_string;

ValueComparison::ValueComparison(SymbolTable const& symbols, Value const& configuration, Value const& recipe)
    : m_symbols(symbols)
{
    MemberIndex index(configuration);
    auto const* const members = index.members_of(to_string(recipe[Key::recipe_type_name]));
    static MemberIndex::Members const none;
    for (auto const& [name, place] : members == nullptr ? none : *members)
    {
        auto const* const member = RavikSrv::node_path(place.path, configuration).node;
        m_members[name] = place.nests_type || member == nullptr ? std::string() : to_string((*member)[Key::symbol]);
    }
}

ValueComparison::Target ValueComparison::target_of(std::string const& member) const
{
    auto const found = m_members.find(member);
    if (found == m_members.end())
    {
        return {};
    }
    auto const* const symbol = m_symbols.find(found->second).symbol;
    return {.is_member = true, .symbol = found->second, .domain = symbol == nullptr ? std::string() : symbol->domain};
}

bool ValueComparison::agree(Target const& target, Value const& stored, Value const& current) const
{
    auto const* const symbol = m_symbols.find(target.symbol).symbol;
    return RavikSrv::values_agree(stored, current, symbol != nullptr && RavikSrv::describes_float(symbol->schema));
}

} // namespace Ravik
