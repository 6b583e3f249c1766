#include "Api/Page.h"
#include "Api/Parts.h"
#include "Api/Walk.h"
#include "Api/problem.h"
#include "Api/resources.h"
#include "Api/values.h"

#include "Configuration/tree.h"
#include "Schema/input_form.h"

#include "api_helper.h"

#include <boost/algorithm/string/predicate.hpp>

#include <locale>
#include <unordered_set>

namespace Ravik::Service
{

using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

/// What a list is narrowed down to.
struct Filter
{
    std::string match;
    bool by_type = false;
    std::unordered_set<std::string> recipes;

    bool is_set() const { return !match.empty() || by_type; }

    bool wants(std::string const& name, EntryKind kind) const
    {
        auto const is_entry = kind == EntryKind::Recipe || kind == EntryKind::RecipeType;
        return (is_entry || !is_set()) && (match.empty() || boost::icontains(name, match, std::locale::classic())) &&
               (!by_type || recipes.contains(name));
    }
};

Filter filter_of(Call const& call)
{
    Filter filter{.match = call.parameter("match"), .recipes = {}};
    if (auto const type = call.parameter("type"); !type.empty())
    {
        auto const outcome = call.parts.project.recipes_of(type);
        if (!outcome.succeeded())
        {
            throw problem_of(outcome.error, outcome.text, outcome.path);
        }
        filter.by_type = true;
        filter.recipes.insert(outcome.names.begin(), outcome.names.end());
    }
    return filter;
}

Value item_of(std::string const& name, Value const& entry, EntryKind kind)
{
    Value item(ValueType::Map);
    item.insert("name", text_value(name));
    switch (kind)
    {
    case EntryKind::Recipe:
        item.insert("kind", text_value("recipe"));
        item.insert("type", entry[Key::recipe_type_name]);
        break;
    case EntryKind::RecipeType:
        item.insert("kind", text_value("type"));
        item.insert("inherits",
                    entry[Key::recipe_type_names].isset() ? entry[Key::recipe_type_names] : Value(ValueType::Vector));
        item.insert("members", Value(static_cast<long>(entry[Key::members].size())));
        break;
    default:
        item.insert("kind", text_value("folder"));
        item.insert("count", Value(static_cast<long>(entry.size())));
    }
    return item;
}

Response list(Call& call, char const* list_name, Filter const& filter)
{
    Page page(call);
    auto& project = call.parts.project;
    auto const revision = project.revisions().configuration;
    auto const under = call.parameter("under");
    auto const outcome =
        project.get(std::string(recipe_domain), under.empty() ? std::string() : Tree::join(list_name, under));
    Value const& folder = under.empty() ? outcome.value[list_name] : outcome.value;
    if (!outcome.succeeded() || (!under.empty() && kind_of(Tree::join(list_name, under), folder) != EntryKind::Folder))
    {
        throw Problem{.status = 404, .code = "ENTRY_NOT_FOUND", .detail = "there is no folder '" + under + "'"};
    }
    auto& changes = call.parts.changes;
    changes.catch_up();
    auto const visit = [&](std::string const& name, Value const& entry, EntryKind kind)
    {
        if (!filter.wants(name, kind))
        {
            return true;
        }
        auto item = item_of(name, entry, kind);
        if (auto const change = changes.of(Tree::join(list_name, name)); change.isset())
        {
            item.insert("changed", change);
        }
        return page.add(name, item);
    };
    if (!Walk(list_name, folder, under).visit_behind(page.cursor(), visit))
    {
        page.fail_gone();
    }
    auto value = page.value();
    value.insert("revision", text_value(std::to_string(revision)));
    return json_answer(value);
}

Value member_value(MemberInfo const& member)
{
    Value value(ValueType::Map);
    value.insert("name", text_value(member.name));
    value.insert("type", text_value(member.type));
    value.insert("symbol", member.symbol.empty() ? Value() : text_value(member.symbol));
    value.insert("domain", member.domain.empty() ? Value() : text_value(member.domain));
    if (member.tolerance > 0)
    {
        value.insert("tolerance", Value(member.tolerance));
    }
    value.insert("symbolSchema", member.symbol_schema);
    value.insert("schema", member.schema);
    value.insert("default", member.default_value);
    value.insert("nestedType", member.nested_type.empty() ? Value() : text_value(member.nested_type));
    value.insert("enabled", Value(member.enabled));
    // The member's own unit goes before the symbol's.
    value.insert("input", Schema::input_form({member.schema, member.symbol_schema}));
    return value;
}

} // namespace

Response get_recipes(Call& call)
{
    return list(call, Key::recipe_list, filter_of(call));
}

Response get_types(Call& call)
{
    return list(call, Key::recipe_type_list, Filter{.match = call.parameter("match"), .recipes = {}});
}

Response get_members(Call& call)
{
    auto const type = call.required("type");
    auto const outcome = call.parts.project.members(type);
    if (!outcome.succeeded())
    {
        throw problem_of(outcome.error, outcome.text, outcome.path);
    }
    Value members(ValueType::Vector);
    for (auto const& member : outcome.members)
    {
        members << member_value(member);
    }
    Value answer(ValueType::Map);
    answer.insert("members", members);
    return json_answer(answer);
}

Response get_symbols(Call& call)
{
    Page page(call);
    auto const match = call.parameter("match");
    auto is_behind = page.cursor().empty();
    for (auto const& symbol : call.parts.project.symbols())
    {
        if (!is_behind)
        {
            is_behind = symbol.name == page.cursor();
            continue;
        }
        if (!match.empty() && !boost::icontains(symbol.name, match, std::locale::classic()))
        {
            continue;
        }
        Value item(ValueType::Map);
        item.insert("name", text_value(symbol.name));
        item.insert("domain", text_value(symbol.domain));
        item.insert("mapping", text_value(symbol.mapping));
        item.insert("schema", symbol.schema);
        item.insert("input", Schema::input_form({symbol.schema}));
        if (!page.add(symbol.name, item))
        {
            break;
        }
    }
    if (!is_behind)
    {
        page.fail_gone();
    }
    return json_answer(page.value());
}

} // namespace Ravik::Service
