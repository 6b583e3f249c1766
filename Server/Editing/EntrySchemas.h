#pragma once

#include "Configuration/Entry.h"
#include "RavikSrvExtApi.h"
#include "Schema/CompiledSchema.h"

#include <memory>
#include <string>

namespace Ravik
{

/// The definitions by which an extension's schema describes recipe types and recipes. Immutable.
class EntrySchemas
{
public:
    /// `schema` is the extension's; definitions that it does not have accept everything.
    explicit EntrySchemas(RavikSrv::Value const& schema);

    /// Whether the schema describes recipe types and recipes at all.
    bool has_recipes() const noexcept { return m_recipe_type != nullptr && m_recipe != nullptr; }

    /// Whether `entry`, which stands at `path`, fits the definition of its kind; the text names the place.
    RavikSrv::ResultPair check(EntryKind kind, std::string const& path, RavikSrv::Value const& entry) const;

private:
    std::shared_ptr<CompiledSchema const> m_recipe_type;
    std::shared_ptr<CompiledSchema const> m_recipe;
};

} // namespace Ravik
