#include "SymbolList.h"

#include "configuration_keys.h"

#include <utility>

namespace RecipeManagement
{

void SymbolList::append_type(TextView name)
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
    // The members of one type have different names, so that the next record that bears this one is the first as well.
    if (m_type_count == 1 && m_next < m_records.size())
    {
        auto& record = m_records[m_next];
        if (record.name == name)
        {
            ++m_next;
            return &record;
        }
    }
    return find_indexed(name);
}

SymbolData* SymbolList::find_indexed(std::string_view name)
{
    if (m_indexed != m_records.size())
    {
        m_first_by_name.clear();
        m_first_by_name.reserve(m_records.size());
        for (std::uint32_t position = 0; position < m_records.size(); ++position)
        {
            m_first_by_name.insert(position);
        }
        m_indexed = m_records.size();
    }
    auto const found = m_first_by_name.find(name);
    if (found == m_first_by_name.end())
    {
        return nullptr;
    }
    m_next = *found + 1;
    return &m_records[*found];
}

std::vector<Member>& SymbolList::members_of(Value const& type)
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
        read.members.push_back(m_member_reader.read(entry));
    }
    return m_types_read.emplace(&entries, std::move(read)).first->second.members;
}

} // namespace RecipeManagement
