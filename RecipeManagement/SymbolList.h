#pragma once

#include "SymbolData.h"

#include <boost/unordered/unordered_flat_map.hpp>
#include <boost/unordered/unordered_flat_set.hpp>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace RecipeManagement
{

/// The records of one request in the order in which they were reached. Searches answer what a walk from the front
/// answers, without the walk. Belongs to one request and does no locking.
class SymbolList
{
public:
    SymbolList() = default;
    SymbolList(SymbolList const&) = delete;
    SymbolList& operator=(SymbolList const&) = delete;
    ~SymbolList() = default;

    /// Appends an empty record, to be filled with a symbol, without any search. References to records end here.
    SymbolData& append_symbol() { return m_records.emplace_back(); }
    /// Appends the record of a type unless an equal one is in the list. References to records end here.
    void append_type(std::string const& name);
    /// Appends copies of the symbols' records from `first` up to, not including, `last`.
    void repeat_symbols(std::size_t first, std::size_t last);
    /// Makes room for so many more records.
    void reserve_more(std::size_t count);

    /// The first record of that name, be it a symbol's or a type's; null where there is none. The names are indexed at
    /// the first search, which is best made when the list is complete.
    SymbolData* find_name(std::string_view name);

    /// How many of the records stand for symbols.
    std::size_t symbol_count() const noexcept { return m_records.size() - m_types.size(); }
    std::size_t size() const noexcept { return m_records.size(); }
    bool empty() const noexcept { return m_records.empty(); }
    auto begin() noexcept { return m_records.begin(); }
    auto end() noexcept { return m_records.end(); }
    auto begin() const noexcept { return m_records.begin(); }
    auto end() const noexcept { return m_records.end(); }

private:
    std::vector<SymbolData> m_records;
    /// A type's record has no symbol and no recipe type: its name alone makes it equal to another.
    boost::unordered_flat_set<std::string> m_types;
    /// The first record by name, of the first `m_indexed` records; refers to their names.
    boost::unordered_flat_map<std::string_view, SymbolData*> m_first_by_name;
    std::size_t m_indexed = 0;
};

} // namespace RecipeManagement
