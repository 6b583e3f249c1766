#pragma once

#include "Schema/Pattern.h"
#include "Schema/json_equality.h"

#include "RavikSrvExtApi.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Ravik::Schema
{

/// The position of a schema among those of a compiled document.
using NodeId = std::uint32_t;
/// Stands for a schema that is not there; every value fits it.
inline constexpr NodeId no_node = std::numeric_limits<NodeId>::max();

/// The names of `type`, one bit each.
enum TypeBit : unsigned
{
    TYPE_NULL = 1U,
    TYPE_BOOLEAN = 2U,
    TYPE_INTEGER = 4U,
    TYPE_NUMBER = 8U,
    TYPE_STRING = 16U,
    TYPE_ARRAY = 32U,
    TYPE_OBJECT = 64U,
    TYPE_ALL = 127U,
};

/// The bit of a type's name, 0 for a text that is none.
unsigned type_bit(std::string_view name) noexcept;
/// The names of the bits, as in "integer or string".
std::string type_names(unsigned bits);
/// The bits of all types that the value is of.
unsigned type_bits(RavikSrv::Value const& value);

struct SizeRange
{
    std::size_t minimum = 0;
    std::size_t maximum = std::numeric_limits<std::size_t>::max();

    bool is_set() const noexcept { return minimum != 0 || maximum != std::numeric_limits<std::size_t>::max(); }
};

/// A bound that is null is not there.
struct NumberRules
{
    RavikSrv::Value minimum;
    RavikSrv::Value maximum;
    RavikSrv::Value exclusive_minimum;
    RavikSrv::Value exclusive_maximum;
    RavikSrv::Value multiple_of;
};

struct TextRules
{
    SizeRange length;
    std::optional<Pattern> pattern;
};

struct ArrayRules
{
    SizeRange size;
    bool unique = false;
    /// The schemas of the first items, each its own, and the one of all others.
    std::vector<NodeId> leading;
    NodeId others = no_node;
    NodeId contained = no_node;
};

struct PatternRule
{
    Pattern pattern;
    NodeId schema;
};

/// What the presence of a field asks for.
struct Dependency
{
    std::string field;
    std::vector<std::string> required;
    NodeId schema = no_node;
};

struct ObjectRules
{
    SizeRange size;
    std::vector<std::string> required;
    /// A map from names to node ids: its look-up stands names that were chosen to collide.
    RavikSrv::Value properties;
    std::vector<PatternRule> patterns;
    NodeId others = no_node;
    NodeId names = no_node;
    std::vector<Dependency> dependencies;
};

/// Schemas that apply to the same value.
struct Combination
{
    NodeId reference = no_node;
    std::vector<NodeId> all;
    std::vector<NodeId> any;
    std::vector<NodeId> one;
    NodeId excluded = no_node;
    NodeId condition = no_node;
    NodeId consequence = no_node;
    NodeId alternative = no_node;
};

/// One schema, keyword groups that it does not use left out.
struct Node
{
    /// The schema `false`.
    bool never = false;
    /// More than one place leads here and there is more below it, so that outcomes are worth remembering.
    bool remembered = false;
    unsigned types = TYPE_ALL;
    std::unique_ptr<ValueSet> enumeration;
    std::unique_ptr<ValueSet> constant;
    std::unique_ptr<NumberRules> number;
    std::unique_ptr<TextRules> text;
    std::unique_ptr<ArrayRules> array;
    std::unique_ptr<ObjectRules> object;
    std::unique_ptr<Combination> combination;
    /// What the values are measured in. Says nothing of what fits.
    std::unique_ptr<std::string const> unit;
};

/// All schemas that a compiled schema consists of, the first being its own.
struct CompiledNodes
{
    std::vector<Node> nodes;
};

/// The schemas that a check of a value against `node` applies to that same value.
std::vector<NodeId> same_value_schemas(Node const& node);

/// A schema whose check would come back to it without a step into the value, `no_node` where there is none.
NodeId find_endless(std::vector<Node> const& nodes);

} // namespace Ravik::Schema
