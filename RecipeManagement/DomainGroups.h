#pragma once

#include "NameMap.h"
#include "SymbolData.h"
#include "configuration_keys.h"

#include <string_view>
#include <utility>

namespace RecipeManagement
{

/// What a request has the server execute, a `Group` for each domain. Refers to the records, which must not change.
template <typename Group> class DomainGroups
{
public:
    /// Where a symbol belongs: a mapped one to the domain that serves it, any other to the server's own; null for one
    /// that is mapped to the server itself, which belongs to neither. Good until the next call.
    Group* group_of(SymbolData const& record)
    {
        if (record.use_mapping && record.domain == server_domain)
        {
            return nullptr;
        }
        std::string_view const domain = record.use_mapping ? std::string_view(record.domain) : server_domain;
        // Mostly one domain serves many symbols in a row.
        if (m_last_group == nullptr || m_last_domain != domain)
        {
            m_last_group = &m_groups[domain];
            m_last_domain = domain;
        }
        return m_last_group;
    }

    /// Hands out the group of a domain, an empty one where there is none. The server's own may be asked for again.
    Group take(std::string_view domain)
    {
        auto const found = m_groups.find(domain);
        if (found == m_groups.end())
        {
            return Group();
        }
        return domain == server_domain ? found->second : std::move(found->second);
    }

private:
    NameMap<Group> m_groups;
    std::string_view m_last_domain;
    Group* m_last_group = nullptr;
};

} // namespace RecipeManagement
