#pragma once

#include "Schema/SchemaNode.h"
#include "Schema/WorkBudget.h"
#include "Schema/messages.h"

#include "RavikSrvExtApi.h"

#include <list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Ravik::Schema
{

/// One check of one value against compiled schemas, which must outlive it.
class Evaluation
{
public:
    Evaluation(std::vector<Node> const& nodes, std::string_view path) : m_nodes(nodes), m_path(path) {}

    /// The answer for the first of the schemas. Never throws a `SchemaFailure`.
    RavikSrv::ResultPair run(RavikSrv::Value const& value);

private:
    using Value = RavikSrv::Value;
    using Subject = std::pair<NodeId, Value const*>;
    struct SubjectHash
    {
        std::size_t operator()(Subject const& subject) const noexcept;
    };
    struct Failure
    {
        RavikSrv::ErrorValue result = RavikSrv::ErrorValue::SUCCESS;
        std::string location;
        std::string text;
    };

    /// Whether the value fits; the first failure is told in `m_failure` unless the check is a silent one.
    bool fits(NodeId id, Value const& value, InstanceLocation const& location);
    /// The same without telling why.
    bool fits_silently(NodeId id, Value const& value, InstanceLocation const& location);

    bool check(Node const& node, Value const& value, InstanceLocation const& location);
    bool check_content(Node const& node, RavikSrv::Value const& value, InstanceLocation const& location);
    bool check_combination(Combination const& combination, RavikSrv::Value const& value,
                           InstanceLocation const& location);
    bool check_type(Node const& node, Value const& value, InstanceLocation const& location);
    bool check_choice(Node const& node, Value const& value, InstanceLocation const& location);
    bool check_number(NumberRules const& rules, Value const& number, InstanceLocation const& location);
    bool check_text(TextRules const& rules, Value const& value, InstanceLocation const& location);

    bool check_array(ArrayRules const& rules, Value const& array, InstanceLocation const& location);
    bool check_items(ArrayRules const& rules, Value const& array, InstanceLocation const& location);
    bool check_contains(NodeId contained, Value const& array, InstanceLocation const& location);
    bool check_unique(Value const& array, InstanceLocation const& location);
    bool check_object(ObjectRules const& rules, Value const& object, InstanceLocation const& location);
    bool check_required(std::vector<std::string> const& names, Value const& object, InstanceLocation const& location,
                        std::string const& because);
    bool check_field(ObjectRules const& rules, char const* name, Value const& value,
                     InstanceLocation const& object_location);
    bool check_name(NodeId names, char const* name, InstanceLocation const& object_location);
    bool check_dependency(Dependency const& dependency, Value const& object, InstanceLocation const& location);
    bool check_size(SizeRange const& range, std::size_t size, char const* unit, RavikSrv::ErrorValue result,
                    InstanceLocation const& location);

    bool check_any(std::vector<NodeId> const& schemas, Value const& value, InstanceLocation const& location);
    bool check_one(std::vector<NodeId> const& schemas, Value const& value, InstanceLocation const& location);
    bool check_condition(Combination const& combination, Value const& value, InstanceLocation const& location);
    std::string reasons(std::vector<NodeId> const& schemas, Value const& value, InstanceLocation const& location);

    /// Returns false; `text`, a function, is only asked where somebody will read it.
    template <typename Text> bool fail(RavikSrv::ErrorValue result, InstanceLocation const& location, Text const& text)
    {
        if (m_silent == 0)
        {
            m_failure = {result, location_text(m_path, location), text()};
        }
        return false;
    }

    std::vector<Node> const& m_nodes;
    std::string_view m_path;
    WorkBudget m_budget;
    std::size_t m_depth = 0;
    /// How many silent checks are going on, one inside the other.
    std::size_t m_silent = 0;
    bool m_giving_reasons = false;
    Failure m_failure;
    /// Outcomes for schemas that several places lead to: without them, schemas that each refer twice to the next would
    /// take exponential time. Values are told by their address.
    std::unordered_map<Subject, bool, SubjectHash> m_outcomes;
    /// Names of fields as values; they keep their addresses. Most checks have none, and a list costs nothing then.
    std::list<Value> m_names;
};

} // namespace Ravik::Schema
