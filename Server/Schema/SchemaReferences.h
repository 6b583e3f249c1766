#pragma once

#include "Schema/CompiledSchema.h"

#include "RavikSrvExtApi.h"

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <tuple>

namespace Ravik::Schema
{

/// A schema inside its document, and the URI that references in it are relative to.
struct SchemaLocation
{
    RavikSrv::Value const* schema = nullptr;
    std::string const* base = nullptr;

    friend bool operator<(SchemaLocation const& left, SchemaLocation const& right) noexcept
    {
        return std::tie(left.schema, left.base) < std::tie(right.schema, right.base);
    }
};

/// Finds what a reference in a schema means. Locations are valid as long as this object and the documents.
class SchemaReferences
{
public:
    SchemaReferences(RavikSrv::Value const& document, SchemaDocuments const& documents);

    /// The document that the schema stands in.
    SchemaLocation root() const { return m_root; }
    /// A schema inside another one whose base is `base`: an `$id` of its own changes it.
    SchemaLocation inside(RavikSrv::Value const& schema, std::string const* base);
    /// What `reference` means to a schema with `base`. Throws a `SchemaFailure` (`TYPE_MISSING`) where that is nothing
    /// known.
    SchemaLocation resolve(std::string_view reference, std::string const* base);

private:
    SchemaLocation add_document(std::string_view uri, RavikSrv::Value const& document);
    SchemaLocation const* find(std::string const& uri);
    void collect_names();
    SchemaLocation follow(SchemaLocation from, std::string_view pointer, std::string_view reference);

    /// All bases in use; their addresses are handed out.
    std::set<std::string, std::less<>> m_bases;
    std::map<std::string, SchemaLocation, std::less<>> m_known;
    SchemaLocation m_root;
    bool m_names_collected = false;
};

} // namespace Ravik::Schema
