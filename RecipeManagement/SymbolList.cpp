#include "SymbolList.h"

#include "configuration_keys.h"

#include <utility>

namespace RecipeManagement
{

void SymbolList::append_type(std::string const& name)
{
    if (m_types.insert(name).second)
    {
        m_records.emplace_back(true, name);
    }
}

void SymbolList::repeat_symbols(std::size_t first, std::size_t last)
{
    for (auto i = first; i != last; ++i)
    {
        if (!m_records[i].is_recipetype)
        {
            m_records.push_back(m_records[i]);
        }
    }
}

SymbolData* SymbolList::find_name(std::string_view name)
{
    if (m_indexed != m_records.size())
    {
        m_first_by_name.clear();
        m_first_by_name.reserve(m_records.size());
        for (auto& record : m_records)
        {
            m_first_by_name.emplace(record.name, &record);
        }
        m_indexed = m_records.size();
    }
    auto const found = m_first_by_name.find(name);
    return found == m_first_by_name.end() ? nullptr : found->second;
}

std::vector<Member> const& SymbolList::members_of(Value const& type)
{
    auto const& entries = type[Key::members];
    if (auto const read = m_types_read.find(&entries); read != m_types_read.end())
    {
        return read->second.members;
    }
    TypeMembers read{.type = type, .members = {}};
    read.members.reserve(entries.size());
    auto const end = entries.end();
    for (auto entry = entries.begin(); entry != end; ++entry)
    {
        read.members.emplace_back(entry);
    }
    return m_types_read.emplace(&entries, std::move(read)).first->second.members;
}

} // namespace RecipeManagement
