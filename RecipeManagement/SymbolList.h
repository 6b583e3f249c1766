#pragma once

#include "Member.h"
#include "NameMap.h"
#include "SymbolData.h"

#include <boost/container/deque.hpp>
#include <boost/unordered/unordered_flat_set.hpp>

#include <cstddef>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace RecipeManagement
{

/// The records of one request in the order in which they were reached, and the types read for them. Searches answer
/// what a walk from the front would return, without the walk. Belongs to one request and does no locking.
class SymbolList
{
public:
    SymbolList() = default;
    SymbolList(SymbolList const&) = delete;
    SymbolList& operator=(SymbolList const&) = delete;
    ~SymbolList() = default;

    /// Tells that the records which are appended next come of another type.
    void begin_type() noexcept { ++m_type_count; }
    /// Appends an empty record, to be filled with a symbol, without any search. Records stay where they are.
    SymbolData& append_symbol() { return m_records.emplace_back(); }
    /// Appends the record of a type unless an equal one is in the list.
    void append_type(TextView name);
    /// Appends copies of the symbols' records from `first` up to, not including, `last`.
    void repeat_symbols(std::size_t first, std::size_t last);

    /// The first record of that name, be it a symbol's or a type's; null where there is none. The names are indexed at
    /// the first search, which is best made when the list is complete.
    SymbolData* find_name(std::string_view name);

    /// The members of a recipe type of the configuration, read when they are first asked for.
    std::vector<Member>& members_of(Value const& type);

    /// Whether no two records stand for the same symbol, as far as that is known.
    bool symbols_are_distinct() const noexcept { return m_symbols_are_distinct; }
    void set_symbols_are_distinct() noexcept { m_symbols_are_distinct = true; }

    /// How many of the records stand for symbols.
    std::size_t symbol_count() const noexcept { return m_records.size() - m_types.size(); }
    std::size_t size() const noexcept { return m_records.size(); }
    bool empty() const noexcept { return m_records.empty(); }
    auto begin() noexcept { return m_records.begin(); }
    auto end() noexcept { return m_records.end(); }
    auto begin() const noexcept { return m_records.begin(); }
    auto end() const noexcept { return m_records.end(); }

private:
    /// In blocks of so many that finding a record's block costs little: a list that grows never moves its records.
    using Records = boost::container::deque<SymbolData, void,
                                            boost::container::deque_options<boost::container::block_size<64U>>::type>;

    Records m_records;
    /// A type's record has no symbol and no recipe type: its name alone makes it equal to another.
    boost::unordered_flat_set<std::string_view> m_types;
    std::size_t m_type_count = 0;
    bool m_symbols_are_distinct = false;
    /// Finds positions by the names of the records there. The positions alone take a tenth of the memory of the names.
    struct ByName
    {
        using is_transparent = void;
        using is_avalanching = void;

        std::size_t operator()(std::string_view name) const noexcept { return NameHash()(name); }
        std::size_t operator()(std::uint32_t position) const { return NameHash()((*records)[position].name); }
        bool operator()(std::uint32_t left, std::uint32_t right) const
        {
            return (*records)[left].name == (*records)[right].name;
        }
        bool operator()(std::string_view name, std::uint32_t position) const
        {
            return (*records)[position].name == name;
        }
        bool operator()(std::uint32_t position, std::string_view name) const { return (*this)(name, position); }

        Records const* records;
    };

    /// The position of the first record of each name, of the first `m_indexed` records.
    boost::unordered_flat_set<std::uint32_t, ByName, ByName> m_first_by_name{0, ByName{&m_records}, ByName{&m_records}};
    std::size_t m_indexed = 0;
    /// The record behind the one that was found last.
    std::size_t m_next = 0;

    struct TypeMembers
    {
        /// What the members refer to; kept, so that nothing else comes to stand at its address.
        Value type;
        std::vector<Member> members;
    };

    MemberReader m_member_reader;
    /// By the address of a type's members, which all copies of the type share.
    std::unordered_map<Value const*, TypeMembers> m_types_read;

    SymbolData* find_indexed(std::string_view name);
};

} // namespace RecipeManagement
