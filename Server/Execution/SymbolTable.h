#pragma once

#include "RavikSrvExtApi.h"
#include "Schema/CompiledSchema.h"

#include <boost/unordered/unordered_flat_map.hpp>

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Ravik
{

/// A symbol as the project file maps it.
struct Symbol
{
    std::string name;
    std::string domain;
    /// The address inside the domain; the symbol's name where the project file gives none.
    RavikSrv::SharedText mapping;
    RavikSrv::Value schema;
    std::shared_ptr<CompiledSchema const> compiled;
    /// Whether it is written in its domain, not through the server.
    bool use_mapping = true;
    /// By how much a number in the controller may be off and still counts as the one written, in the symbol's unit.
    double tolerance = 0;
    /// Whether it is read back once it is written; not so a command that the controller takes back.
    bool verify = true;

    /// Whether `value` fits the schema of the symbol or, below it, of the part that `rest` leads to ("::x", "[2]").
    /// Where the schema does not say what stands there, every value fits.
    RavikSrv::ResultPair check(std::string_view rest, RavikSrv::Value const& value) const;
};

/// A name that leads to a symbol, or below one.
struct SymbolReference
{
    /// Null where the name leads to no mapped symbol.
    Symbol const* symbol = nullptr;
    /// What stands behind the symbol's own name.
    std::string_view rest;

    /// The address of the place inside the symbol's domain.
    RavikSrv::SharedText mapping() const;
};

/// The symbols of a project, by name. Made from the project file when the project is opened, then only read.
class SymbolTable
{
public:
    SymbolTable() = default;
    SymbolTable(SymbolTable const&) = delete;
    SymbolTable& operator=(SymbolTable const&) = delete;
    ~SymbolTable() = default;
    /// `symbols` as `ProjectFile` holds them.
    explicit SymbolTable(RavikSrv::Value const& symbols);

    /// Finds the symbol whose name is the first component of `name`; the reference lives as long as both.
    SymbolReference find(std::string_view name) const;
    /// The same for one name after the other, where the next is mostly that of the symbol behind `last`, the one found
    /// before: then it costs a comparison. `last` may be null.
    SymbolReference find_behind(Symbol const* last, std::string_view name) const;
    /// Whether any symbol lives in the domain.
    bool has_symbols_of(std::string const& domain) const { return m_domains.contains(domain); }
    /// All symbols in the order of the project file.
    std::vector<Symbol> const& all() const noexcept { return m_symbols; }

private:
    std::vector<Symbol> m_symbols;
    /// Refers to the symbols, which stay where they are.
    boost::unordered_flat_map<std::string_view, Symbol const*, std::hash<std::string_view>> m_by_name;
    std::set<std::string> m_domains;
};

} // namespace Ravik
