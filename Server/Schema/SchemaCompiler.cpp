#include "Schema/SchemaCompiler.h"

#include "Schema/messages.h"
#include "Schema/numbers.h"

#include <algorithm>
#include <compare>

namespace Ravik::Schema
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

std::vector<Node> SchemaCompiler::compile(std::string_view pointer)
{
    auto const reference = pointer.starts_with('/') ? std::string("#").append(pointer) : std::string(pointer);
    auto const root = m_references.root();
    enter(reference.empty() ? root : m_references.resolve(reference, root.base), no_node,
          reference.empty() ? "#" : reference);
    std::vector<Node> nodes;
    for (m_current = 0; m_current < m_sources.size(); ++m_current)
    {
        m_schema = m_sources[m_current].location.schema;
        nodes.push_back(read());
    }
    for (NodeId id = 0; id < nodes.size(); ++id)
    {
        auto& node = nodes[id];
        node.remembered = m_sources[id].shared && (node.array || node.object || node.combination);
    }
    if (auto const endless = find_endless(nodes); endless != no_node)
    {
        throw SchemaFailure(ErrorValue::RECURSION, "the schema refers to itself without end at " + place(endless, ""));
    }
    return nodes;
}

Node SchemaCompiler::read()
{
    Node node;
    switch (json_type(*m_schema))
    {
    case JsonType::NIL:
        break;
    case JsonType::BOOLEAN:
        node.never = !m_schema->get_bool();
        break;
    case JsonType::OBJECT:
        read_type(node);
        read_choice(node);
        read_number(node);
        read_text(node);
        read_array(node);
        read_object(node);
        read_combination(node);
        read_unit(node);
        break;
    default:
        broken("", "a schema is an object, true or false");
    }
    return node;
}

// Keywords ------------------------------------------------------------------------------------------------------------

void SchemaCompiler::read_type(Node& node)
{
    auto const& type = keyword("type");
    auto const bit_of = [this](Value const& name)
    {
        auto const bit = type_bit(name.get_text());
        if (bit == 0)
        {
            broken("type", describe(name) + " is no type");
        }
        return bit;
    };
    if (type.type() == ValueType::Vector)
    {
        node.types = 0;
        std::for_each(type.begin_vector(), type.end_vector(), [&](Value const& name) { node.types |= bit_of(name); });
    }
    else if (type.isset())
    {
        node.types = bit_of(type);
    }
}

void SchemaCompiler::read_choice(Node& node)
{
    auto const& enumeration = keyword("enum");
    if (enumeration.isset())
    {
        if (enumeration.type() != ValueType::Vector)
        {
            broken("enum", "a list is expected");
        }
        node.enumeration = std::make_unique<ValueSet>();
        std::for_each(enumeration.begin_vector(), enumeration.end_vector(),
                      [&](Value const& value) { node.enumeration->insert(value, m_budget); });
    }
    auto const constant = m_schema->find("const"); // may be null, and then means it
    if (constant != m_schema->end())
    {
        node.constant = std::make_unique<ValueSet>();
        node.constant->insert(*constant, m_budget);
    }
}

void SchemaCompiler::read_number(Node& node)
{
    if (!has({"minimum", "maximum", "exclusiveMinimum", "exclusiveMaximum", "multipleOf"}))
    {
        return;
    }
    node.number = std::make_unique<NumberRules>(
        NumberRules{number_keyword("minimum"), number_keyword("maximum"), number_keyword("exclusiveMinimum"),
                    number_keyword("exclusiveMaximum"), number_keyword("multipleOf")});
    auto const& divisor = node.number->multiple_of;
    if (divisor.isset() && !std::is_gt(compare_numbers(divisor, 0)))
    {
        broken("multipleOf", "a number above 0 is expected");
    }
}

void SchemaCompiler::read_text(Node& node)
{
    if (!has({"minLength", "maxLength", "pattern"}))
    {
        return;
    }
    node.text = std::make_unique<TextRules>();
    node.text->length = size_keywords("minLength", "maxLength");
    auto const& expression = keyword("pattern");
    if (expression.isset())
    {
        if (expression.type() != ValueType::String)
        {
            broken("pattern", "a text is expected");
        }
        node.text->pattern = pattern(expression.get_text(), "pattern");
    }
}

void SchemaCompiler::read_combination(Node& node)
{
    if (!has({"$ref", "allOf", "anyOf", "oneOf", "not", "if"}))
    {
        return;
    }
    node.combination = std::make_unique<Combination>();
    auto& combination = *node.combination;
    auto const& reference = keyword("$ref");
    if (reference.isset())
    {
        if (reference.type() != ValueType::String)
        {
            broken("$ref", "a text is expected");
        }
        auto const text = std::string(reference.get_text());
        combination.reference =
            enter(m_references.resolve(text, m_sources[m_current].location.base), no_node, shortened(text, 200));
    }
    combination.all = schema_list("allOf");
    combination.any = schema_list("anyOf");
    combination.one = schema_list("oneOf");
    combination.excluded = schema_keyword("not");
    combination.condition = schema_keyword("if");
    if (combination.condition != no_node)
    {
        combination.consequence = schema_keyword("then");
        combination.alternative = schema_keyword("else");
    }
}

void SchemaCompiler::read_unit(Node& node)
{
    auto const& unit = keyword("unit");
    if (unit.type() == ValueType::String)
    {
        node.unit = std::make_unique<std::string const>(unit.get_text());
    }
}

// Reading keywords ----------------------------------------------------------------------------------------------------

Value const& SchemaCompiler::keyword(char const* name) const
{
    return (*m_schema)[name];
}

bool SchemaCompiler::has(std::initializer_list<char const*> names) const
{
    return std::any_of(names.begin(), names.end(), [this](char const* name) { return keyword(name).isset(); });
}

Value const& SchemaCompiler::number_keyword(char const* name) const
{
    auto const& number = keyword(name);
    if (number.isset() && (json_type(number) != JsonType::NUMBER || !std::is_eq(compare_numbers(number, number))))
    {
        broken(name, "a number is expected");
    }
    return number;
}

Value const& SchemaCompiler::object_keyword(char const* name) const
{
    auto const& object = keyword(name);
    if (object.isset() && json_type(object) != JsonType::OBJECT)
    {
        broken(name, "an object is expected");
    }
    return object;
}

SizeRange SchemaCompiler::size_keywords(char const* minimum, char const* maximum) const
{
    SizeRange const unlimited;
    return {size_keyword(minimum, unlimited.minimum), size_keyword(maximum, unlimited.maximum)};
}

std::size_t SchemaCompiler::size_keyword(char const* name, std::size_t missing) const
{
    auto const& size = number_keyword(name);
    if (!size.isset())
    {
        return missing;
    }
    if (!is_integral(size) || std::is_lt(compare_numbers(size, 0)))
    {
        broken(name, "an integer not below 0 is expected");
    }
    auto const exact = exact_integer(size);
    return exact ? static_cast<std::size_t>(*exact) : std::numeric_limits<std::size_t>::max();
}

std::vector<std::string> SchemaCompiler::names_in(Value const& list, std::string const& where) const
{
    std::vector<std::string> names;
    std::for_each(list.begin_vector(), list.end_vector(),
                  [&](Value const& name)
                  {
                      if (name.type() != ValueType::String)
                      {
                          broken(where, "a list of names is expected");
                      }
                      names.emplace_back(name.get_text());
                  });
    return names;
}

Pattern SchemaCompiler::pattern(std::string_view expression, std::string const& where)
{
    try
    {
        return {expression, m_budget};
    }
    catch (SchemaFailure const& failure)
    {
        if (failure.result() != ErrorValue::SCHEMA)
        {
            throw;
        }
        broken(where, "the pattern " + quoted(expression) + " cannot be used: " + failure.what());
    }
}

NodeId SchemaCompiler::schema_keyword(char const* name)
{
    auto const& schema = keyword(name);
    return schema.isset() ? child(schema, name) : no_node;
}

std::vector<NodeId> SchemaCompiler::schema_list(char const* name)
{
    std::vector<NodeId> nodes;
    auto const& list = keyword(name);
    if (list.isset() && (list.type() != ValueType::Vector || list.size() == 0))
    {
        broken(name, "a list of at least one schema is expected");
    }
    std::for_each(list.begin_vector(), list.end_vector(),
                  [&](Value const& schema)
                  { nodes.push_back(child(schema, std::string(name) + "/" + std::to_string(nodes.size()))); });
    return nodes;
}

// Schemas and their places --------------------------------------------------------------------------------------------

NodeId SchemaCompiler::child(Value const& schema, std::string const& step)
{
    return enter(m_references.inside(schema, m_sources[m_current].location.base), m_current, step);
}

NodeId SchemaCompiler::enter(SchemaLocation location, NodeId parent, std::string const& step)
{
    auto const id = static_cast<NodeId>(m_sources.size());
    auto const [entry, is_new] = m_entered.emplace(location, id);
    if (!is_new)
    {
        m_sources[entry->second].shared = true;
        return entry->second;
    }
    m_budget.spend(20);
    m_sources.push_back({location, parent, step});
    return id;
}

void SchemaCompiler::broken(std::string_view where, std::string_view reason) const
{
    throw SchemaFailure(ErrorValue::SCHEMA,
                        "the schema is broken at " + place(m_current, where) + ": " + std::string(reason));
}

std::string SchemaCompiler::place(NodeId node, std::string_view below) const
{
    std::vector<std::string_view> steps;
    if (!below.empty())
    {
        steps.push_back(below);
    }
    for (; node != no_node; node = m_sources[node].parent)
    {
        steps.push_back(m_sources[node].step);
    }
    std::string text(steps.back());
    std::for_each(steps.rbegin() + 1, steps.rend(), [&text](std::string_view step) { text.append("/").append(step); });
    return shortened(text, 300);
}

} // namespace Ravik::Schema
