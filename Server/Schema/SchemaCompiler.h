#pragma once

#include "Schema/SchemaNode.h"
#include "Schema/SchemaReferences.h"
#include "Schema/WorkBudget.h"

#include "RavikSrvExtApi.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Ravik::Schema
{

/// Reads a schema with all that it refers to. Schemas wait in a list for their turn, so that no nesting costs stack.
/// For one use; the document must outlive it, what it makes stands for itself.
class SchemaCompiler
{
public:
    SchemaCompiler(RavikSrv::Value const& document, SchemaDocuments const& documents)
        : m_references(document, documents)
    {
    }

    /// Throws a `SchemaFailure` where the schema cannot be used.
    std::vector<Node> compile(std::string_view pointer);

private:
    /// A schema that was found, in the order of the nodes.
    struct Source
    {
        SchemaLocation location;
        /// Where it was found: the schema around it and the way from there, or the text of the reference alone.
        NodeId parent = no_node;
        std::string step;
        bool shared = false;
    };

    Node read();
    void read_type(Node& node);
    void read_choice(Node& node);
    void read_number(Node& node);
    void read_text(Node& node);
    void read_combination(Node& node);
    void read_unit(Node& node);
    void read_array(Node& node);
    void read_object(Node& node);
    void read_properties(ObjectRules& rules);
    void read_dependencies(ObjectRules& rules);

    /// The keyword's value in the schema at hand, null where it is missing.
    RavikSrv::Value const& keyword(char const* name) const;
    bool has(std::initializer_list<char const*> names) const;
    RavikSrv::Value const& number_keyword(char const* name) const;
    RavikSrv::Value const& object_keyword(char const* name) const;
    SizeRange size_keywords(char const* minimum, char const* maximum) const;
    std::size_t size_keyword(char const* name, std::size_t missing) const;
    std::vector<std::string> names_in(RavikSrv::Value const& list, std::string const& where) const;
    Pattern pattern(std::string_view expression, std::string const& where);
    NodeId schema_keyword(char const* name);
    std::vector<NodeId> schema_list(char const* name);

    NodeId child(RavikSrv::Value const& schema, std::string const& step);
    NodeId enter(SchemaLocation location, NodeId parent, std::string const& step);
    [[noreturn]] void broken(std::string_view where, std::string_view reason) const;
    std::string place(NodeId node, std::string_view below) const;

    SchemaReferences m_references;
    std::vector<Source> m_sources;
    std::map<SchemaLocation, NodeId> m_entered;
    WorkBudget m_budget;
    /// The schema at hand.
    NodeId m_current = 0;
    RavikSrv::Value const* m_schema = nullptr;
};

} // namespace Ravik::Schema
