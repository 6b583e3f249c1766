#include "SymbolList.h"

#include <algorithm>

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
    // Room for all, since each copy is taken from the list that it is appended to.
    reserve_more(last - first);
    for (auto i = first; i != last; ++i)
    {
        if (!m_records[i].is_recipetype)
        {
            m_records.push_back(m_records[i]);
        }
    }
}

void SymbolList::reserve_more(std::size_t count)
{
    // At least twice the room, so that many small steps don't move the records each time.
    if (auto const needed = m_records.size() + count; needed > m_records.capacity())
    {
        m_records.reserve(std::max(needed, 2 * m_records.capacity()));
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

} // namespace RecipeManagement
