#include "Editing/findings.h"

#include "Configuration/Entry.h"
#include "Configuration/MemberIndex.h"
#include "Configuration/references.h"
#include "Configuration/tree.h"
#include "Editing/entry_checks.h"
#include "algorithm_helper.h"
#include "api_helper.h"

#include <map>
#include <set>
#include <utility>

namespace Ravik
{

using RavikSrv::ErrorValue;
using RavikSrv::ResultPair;
using RavikSrv::Value;
using RavikSrv::Algorithm::to_string;

namespace
{

bool failed(ResultPair const& result)
{
    return result.result() != ErrorValue::SUCCESS;
}

std::string joined(std::string const& path, char const* first, std::string const& second)
{
    return Tree::join(Tree::join(path, first), second);
}

// References ----------------------------------------------------------------------------------------------------------

Finding dangling(Reference const& reference)
{
    auto const target = relative_name(reference.target);
    if (reference.kind == Reference::Kind::ValueMember)
    {
        auto const recipe = relative_name(Tree::split_last(Tree::split_last(reference.holder).parent).parent);
        return {Finding::Kind::StrayValue, reference.holder,
                "no member stands for this value any more; ravik update '" + recipe + "' drops it"};
    }
    auto const is_recipe = reference.kind == Reference::Kind::NestedRecipe;
    return {Finding::Kind::Reference, reference.holder,
            std::string("there is no ") + to_text(reference.kind) + " \"" + target + "\"; " +
                (is_recipe ? "name another recipe" : "name another type") + ", or make this one"};
}

// Recipe types --------------------------------------------------------------------------------------------------------

void check_symbol(SymbolTable const& symbols, std::string const& path, std::string const& symbol,
                  std::vector<Finding>& findings)
{
    auto const reference = symbols.find(symbol);
    if (reference.symbol == nullptr)
    {
        findings.push_back({Finding::Kind::Symbol, path,
                            "the symbol \"" + symbol + R"(" is not among the "symbols" of ravik.json; map it there)"});
    }
    else if (reference.symbol->domain == server_domain && reference.symbol->use_mapping)
    {
        findings.push_back({Finding::Kind::NeverWritten, path,
                            "no activation writes the symbol \"" + symbol +
                                R"(", a variable of the server's own: give it "USEMAPPING": false in ravik.json)"});
    }
}

void check_type(SymbolTable const& symbols, std::string const& path, Value const& type, std::vector<Finding>& findings)
{
    Value const& members = type[Key::members];
    for (auto member = members.begin(); member != members.end(); ++member)
    {
        Value const& described = *member;
        if (auto const symbol = to_string(described[Key::symbol]); !symbol.empty())
        {
            check_symbol(symbols, Tree::join(joined(path, Key::members, member.name()), Key::symbol), symbol, findings);
        }
    }
    for (auto const& broken : broken_schemas(path, type))
    {
        findings.push_back({Finding::Kind::Schema, broken.path, broken.text});
    }
}

// Recipes -------------------------------------------------------------------------------------------------------------

/// The members of recipe types, each looked up once.
class Members
{
public:
    explicit Members(Value const& tree) : m_tree(tree), m_index(tree) {}

    using ByName = std::map<std::string, Value const*, std::less<>>;

    /// The members that recipes of the type give values for.
    ByName const& all_of(std::string const& type)
    {
        auto const [entry, is_new] = m_all.try_emplace(type);
        auto const* const members = is_new ? m_index.members_of(type) : nullptr;
        for (auto const& [name, target] : members == nullptr ? MemberIndex::Members() : *members)
        {
            entry->second.emplace(name, RavikSrv::node_path(target.path, m_tree).node);
        }
        return entry->second;
    }

    /// Those that the type has itself or inherits; a nested recipe gives the others their values.
    ByName const& own_of(std::string const& type)
    {
        auto const [entry, is_new] = m_own.try_emplace(type);
        if (is_new)
        {
            std::set<std::string> walked;
            collect(type, walked, entry->second);
        }
        return entry->second;
    }

private:
    void collect(std::string const& type, std::set<std::string>& walked, ByName& members) const
    {
        auto const* const node = RavikSrv::node_path(Tree::join(Key::recipe_type_list, type), m_tree).node;
        if (node == nullptr || !walked.insert(type).second)
        {
            return;
        }
        Value const& inherited = (*node)[Key::recipe_type_names];
        for (auto name = inherited.begin_vector(); name != inherited.end_vector(); ++name)
        {
            collect(to_string(*name), walked, members);
        }
        Value const& own = (*node)[Key::members];
        for (auto member = own.begin(); member != own.end(); ++member)
        {
            members.try_emplace(member.name(), &*member);
        }
    }

    Value const& m_tree;
    MemberIndex m_index;
    std::map<std::string, ByName> m_all;
    std::map<std::string, ByName> m_own;
};

/// What holds the recipes of a configuration against their types.
class RecipeChecks
{
public:
    RecipeChecks(Inspection const& inspection, std::vector<Finding>& findings)
        : m_inspection(inspection), m_members(inspection.tree), m_findings(findings)
    {
    }

    void check_values(std::string const& path, Value const& recipe)
    {
        auto const& members = m_members.all_of(to_string(recipe[Key::recipe_type_name]));
        Value const& values = recipe[Key::values];
        for (auto value = values.begin(); value != values.end(); ++value)
        {
            auto const member = members.find(std::string_view(value.name()));
            if (member == members.end() || member->second == nullptr)
            {
                continue;
            }
            if (auto const fits = check(*member->second, *value); failed(fits))
            {
                m_findings.push_back({Finding::Kind::Value, joined(path, Key::values, value.name()),
                                      std::string(fits.text()) + "; set a value that fits"});
            }
        }
    }

    void note_missing(std::string const& path, Value const& recipe)
    {
        for (auto const& [name, member] : m_members.own_of(to_string(recipe[Key::recipe_type_name])))
        {
            auto const value_path = joined(path, Key::values, name);
            auto const value = to_string(recipe[Key::values][name.c_str()]);
            auto const has_symbol = !to_string((*member)[Key::symbol]).empty();
            auto const has_default = (*member)[Key::default_value].isset();
            if (!has_symbol && value.empty())
            {
                m_findings.push_back({Finding::Kind::NoRecipe, value_path,
                                      "the nested member names no recipe; an activation writes its defaults alone"});
            }
            else if (has_symbol && (*member)[Key::enabled].get_bool() && !has_default &&
                     !recipe[Key::values][name.c_str()].isset())
            {
                m_findings.push_back({Finding::Kind::NoValue, value_path,
                                      "neither a value nor a default: an activation leaves the symbol as it is"});
            }
        }
    }

private:
    ResultPair check(Value const& member, Value const& value)
    {
        auto const symbol = to_string(member[Key::symbol]);
        auto const reference = m_inspection.symbols.find(symbol);
        auto fits = symbol.empty() || reference.symbol == nullptr ? ResultPair()
                                                                  : reference.symbol->check(reference.rest, value);
        Value const& schema = member[Key::member_schema];
        auto const is_usable = schema.isset() && !failed(m_inspection.validator.schema_error(schema));
        return failed(fits) || !is_usable ? fits : m_inspection.validator.validate(schema, value, "");
    }

    Inspection const& m_inspection;
    Members m_members;
    std::vector<Finding>& m_findings;
};

} // namespace

char const* to_text(Finding::Kind kind) noexcept
{
    switch (kind)
    {
    case Finding::Kind::Reference:
        return "reference";
    case Finding::Kind::Symbol:
        return "symbol";
    case Finding::Kind::NeverWritten:
        return "never written";
    case Finding::Kind::Schema:
        return "schema";
    case Finding::Kind::Value:
        return "value";
    case Finding::Kind::Entry:
        return "entry";
    case Finding::Kind::StrayValue:
        return "stray value";
    case Finding::Kind::NoValue:
        return "no value";
    case Finding::Kind::NoRecipe:
        return "no recipe";
    }
    return "";
}

std::vector<Finding> find_faults(Inspection const& inspection)
{
    std::vector<Finding> findings;
    for (auto const& reference :
         read_references(inspection.tree, [](Reference const& reference) { return !reference.found; }))
    {
        findings.push_back(dangling(reference));
    }
    RecipeChecks checks(inspection, findings);
    for_each_entry("", inspection.tree,
                   [&](std::string const& path, Value const& entry, EntryKind kind)
                   {
                       if (kind == EntryKind::RecipeType)
                       {
                           check_type(inspection.symbols, path, entry, findings);
                       }
                       else if (kind == EntryKind::Recipe)
                       {
                           checks.check_values(path, entry);
                           checks.note_missing(path, entry);
                       }
                       return true;
                   });
    return findings;
}

std::vector<Finding> find_unfit_variables(SymbolTable const& symbols, Value const& server_tree)
{
    std::vector<Finding> findings;
    Value const& variables = server_tree[Key::variables];
    for (auto const& symbol : symbols.all())
    {
        auto const fits =
            symbol.domain == server_domain ? symbol.check("", variables[symbol.mapping.c_str()]) : ResultPair();
        if (failed(fits))
        {
            findings.push_back({Finding::Kind::Value, symbol.name,
                                "the server's own variable: " + std::string(fits.text()) +
                                    "; write a value that fits with ravik symbol set"});
        }
    }
    return findings;
}

std::vector<Finding> find_misfits(Inspection const& inspection,
                                  std::function<bool(std::string const& type_path)> const& is_of_interest)
{
    std::vector<Finding> findings;
    RecipeChecks checks(inspection, findings);
    for_each_entry(Key::recipe_list, inspection.tree,
                   [&](std::string const& path, Value const& recipe, EntryKind kind)
                   {
                       auto const type = Tree::join(Key::recipe_type_list, to_string(recipe[Key::recipe_type_name]));
                       if (kind == EntryKind::Recipe && is_of_interest(type))
                       {
                           checks.check_values(path, recipe);
                       }
                       return true;
                   });
    return findings;
}

} // namespace Ravik
