#include "value_comparison.h"

#include "Configuration/MemberIndex.h"
#include "Configuration/configuration_keys.h"

#include "algorithm_helper.h"
#include "api_helper.h"

#include <cmath>
#include <limits>

namespace Ravik::CommandLine
{

using RavikSrv::Value;
using RavikSrv::ValueType;
using RavikSrv::Algorithm::to_string;

namespace
{

template <typename Float> bool within_epsilon(double left, double right)
{
    auto const narrow_left = static_cast<Float>(left);
    auto const narrow_right = static_cast<Float>(right);
    return narrow_left == narrow_right ||
           std::fabs(narrow_left - narrow_right) <= std::numeric_limits<Float>::epsilon();
}

bool describes_float(Value const& schema)
{
    auto const reference = to_string(schema["$ref"]);
    return reference == "ravik:general#/definitions/REAL32" || reference == "ravik:general#/definitions/REAL";
}

} // namespace

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
        m_is_float[symbol.name] = describes_float(symbol.schema);
    }
}

std::string ValueComparison::symbol_of(std::string const& member) const
{
    auto const found = m_symbols.find(member);
    return found == m_symbols.end() ? std::string() : found->second;
}

bool ValueComparison::agree(std::string const& member, Value const& stored, Value const& current) const
{
    auto converted = current;
    converted.convert(stored.type());
    if (stored.type() != ValueType::Double || converted.type() != ValueType::Double)
    {
        return stored == converted;
    }
    auto const found = m_is_float.find(RavikSrv::name_from_path(symbol_of(member).c_str()));
    return found != m_is_float.end() && found->second
               ? within_epsilon<float>(stored.get_double(), converted.get_double())
               : within_epsilon<double>(stored.get_double(), converted.get_double());
}

} // namespace Ravik::CommandLine
