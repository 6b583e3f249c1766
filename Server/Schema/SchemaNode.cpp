#include "Schema/SchemaNode.h"

#include "Schema/numbers.h"

#include <algorithm>
#include <array>
#include <utility>

namespace Ravik::Schema
{

using RavikSrv::Value;

namespace
{

struct TypeName
{
    unsigned bit;
    std::string_view name;
};

constexpr std::array type_table{
    TypeName{TYPE_NULL, "null"},     TypeName{TYPE_BOOLEAN, "boolean"}, TypeName{TYPE_INTEGER, "integer"},
    TypeName{TYPE_NUMBER, "number"}, TypeName{TYPE_STRING, "string"},   TypeName{TYPE_ARRAY, "array"},
    TypeName{TYPE_OBJECT, "object"},
};

void append_node(std::vector<NodeId>& nodes, NodeId node)
{
    if (node != no_node)
    {
        nodes.push_back(node);
    }
}

} // namespace

unsigned type_bit(std::string_view name) noexcept
{
    auto const* const found =
        std::find_if(type_table.begin(), type_table.end(), [name](auto const& row) { return row.name == name; });
    return found == type_table.end() ? 0 : found->bit;
}

std::string type_names(unsigned bits)
{
    std::string text;
    for (auto const& row : type_table)
    {
        if ((bits & row.bit) != 0)
        {
            text += text.empty() ? "" : " or ";
            text += row.name;
        }
    }
    return text;
}

unsigned type_bits(Value const& value)
{
    switch (json_type(value))
    {
    case JsonType::NIL:
        return TYPE_NULL;
    case JsonType::BOOLEAN:
        return TYPE_BOOLEAN;
    case JsonType::NUMBER:
        return is_integral(value) ? TYPE_INTEGER | TYPE_NUMBER : unsigned{TYPE_NUMBER};
    case JsonType::STRING:
        return TYPE_STRING;
    case JsonType::ARRAY:
        return TYPE_ARRAY;
    case JsonType::OBJECT:
        return TYPE_OBJECT;
    case JsonType::NONE:
        break;
    }
    return 0;
}

std::vector<NodeId> same_value_schemas(Node const& node)
{
    std::vector<NodeId> schemas;
    if (node.combination)
    {
        auto const& combination = *node.combination;
        for (auto const* list : {&combination.all, &combination.any, &combination.one})
        {
            schemas.insert(schemas.end(), list->begin(), list->end());
        }
        for (auto const single : {combination.reference, combination.excluded, combination.condition,
                                  combination.consequence, combination.alternative})
        {
            append_node(schemas, single);
        }
    }
    if (node.object)
    {
        for (auto const& dependency : node.object->dependencies)
        {
            append_node(schemas, dependency.schema);
        }
    }
    return schemas;
}

NodeId find_endless(std::vector<Node> const& nodes)
{
    enum class State : std::uint8_t
    {
        UNSEEN,
        OPEN,
        DONE,
    };
    std::vector<State> states(nodes.size(), State::UNSEEN);
    // A walk on the heap: a chain of references may be as long as the document.
    std::vector<std::pair<NodeId, std::vector<NodeId>>> open;
    auto const enter = [&](NodeId node)
    {
        if (states[node] == State::UNSEEN)
        {
            states[node] = State::OPEN;
            open.emplace_back(node, same_value_schemas(nodes[node]));
        }
    };
    for (NodeId start = 0; start < nodes.size(); ++start)
    {
        for (enter(start); !open.empty();)
        {
            auto& [node, left] = open.back();
            if (left.empty())
            {
                states[node] = State::DONE;
                open.pop_back();
                continue;
            }
            auto const next = left.back();
            left.pop_back();
            if (states[next] == State::OPEN)
            {
                return next;
            }
            enter(next);
        }
    }
    return no_node;
}

} // namespace Ravik::Schema
