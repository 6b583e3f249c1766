#include "commands.h"

#include "Table.h"
#include "configuration_answer.h"
#include "function_answer.h"
#include "path_hint.h"
#include "recipe_names.h"

#include "Configuration/Entry.h"
#include "Configuration/tree.h"

#include "algorithm_helper.h"
#include "api_helper.h"

#include "Project/report_values.h"

#include <boost/algorithm/string/predicate.hpp>

#include <locale>
#include <map>
#include <unordered_set>

namespace Ravik::CommandLine
{

namespace
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::Algorithm::to_string;

/// What a list is narrowed down to.
class Filter
{
public:
    explicit Filter(Invocation& invocation)
        : m_text(invocation.value(Option::match)), m_type(invocation.value(Option::type))
    {
        if (!m_type.empty())
        {
            auto const recipes = recipes_of(invocation, m_type);
            m_recipes.insert(recipes.begin(), recipes.end());
        }
    }

    bool is_set() const { return !m_text.empty() || !m_type.empty(); }

    bool wants(std::string const& path, EntryKind kind, Value const& tree) const
    {
        auto const name = relative_name(path);
        auto const matches = m_text.empty() || boost::icontains(name, m_text, std::locale::classic());
        return matches && (m_type.empty() || (kind == EntryKind::Recipe       ? m_recipes.contains(name)
                                              : kind == EntryKind::RecipeType ? is_of_type(name, tree)
                                                                              : false));
    }

private:
    bool is_of_type(std::string const& type, Value const& tree) const
    {
        std::unordered_set<std::string> walked;
        std::vector<std::string> open{type};
        while (!open.empty())
        {
            auto const name = open.back();
            open.pop_back();
            auto const* const node = RavikSrv::node_path(Tree::join(Key::recipe_type_list, name), tree).node;
            if (name == m_type)
            {
                return true;
            }
            if (node != nullptr && walked.insert(name).second)
            {
                auto const inherited = texts_of((*node)[Key::recipe_type_names]);
                open.insert(open.end(), inherited.begin(), inherited.end());
            }
        }
        return false;
    }

    std::string m_text;
    std::string m_type;
    std::unordered_set<std::string> m_recipes;
};

char const* word_for(EntryKind kind)
{
    return kind == EntryKind::Recipe ? "recipe" : kind == EntryKind::RecipeType ? "recipe type" : "folder";
}

/// The folders, recipe types and recipes at and below a path as a tree.
class Listing
{
public:
    Listing(std::string const& path, Value const& tree, Filter const& filter)
        : m_depth(RavikSrv::Algorithm::split_symbol_name(path.c_str()).size()), m_filter(filter)
    {
        for_each_entry(Key::recipe_list, tree,
                       [this](std::string const& /*recipe*/, Value const& entry, EntryKind /*kind*/)
                       {
                           ++m_recipes_of[to_string(entry[Key::recipe_type_name])];
                           return true;
                       });
        for_each_entry(
            path, tree,
            [&](std::string const& place, Value const& entry, EntryKind kind)
            {
                add(place, entry, kind, filter.wants(place, kind, tree));
                return true;
            },
            Folders::Visited);
    }

    void print(Output& output) const
    {
        Table table({"NAME", "KIND", ""});
        for (auto const& row : m_rows)
        {
            if (is_shown(row))
            {
                auto const depth = RavikSrv::Algorithm::split_symbol_name(row.path.c_str()).size();
                auto const indentation = depth > m_depth ? 2 * (depth - std::max<std::size_t>(m_depth, 1)) : 0;
                table.add({{std::string(indentation, ' ') + Tree::split_last(row.path).name},
                           {word_for(row.kind)},
                           {row.kind == EntryKind::Recipe ? row.type : counted(count_of(row), noun_of(row))}});
            }
        }
        table.print(output);
        output.print(counted(m_types, "recipe type") + " and " + counted(m_recipes, "recipe") +
                     (m_filter.is_set() ? " of this kind." : "."));
    }

    Value value() const
    {
        Value rows(RavikSrv::ValueType::Vector);
        for (auto const& row : m_rows)
        {
            if (is_shown(row))
            {
                Value entry;
                entry.insert("path", text_value(row.path));
                entry.insert("kind", text_value(word_for(row.kind)));
                entry.insert("type", text_value(row.type));
                entry.insert("count",
                             row.kind == EntryKind::Recipe ? Value() : Value(static_cast<long>(count_of(row))));
                rows << entry;
            }
        }
        Value counts;
        counts.insert("recipeTypes", static_cast<long>(m_types));
        counts.insert("recipes", static_cast<long>(m_recipes));
        Value value;
        value.insert("rows", rows);
        value.insert("counts", counts);
        return value;
    }

private:
    struct Row
    {
        std::string path;
        EntryKind kind = EntryKind::Folder;
        /// Of a recipe.
        std::string type;
        bool is_wanted = false;
    };

    void add(std::string const& path, Value const& entry, EntryKind kind, bool is_wanted)
    {
        m_rows.push_back({.path = path,
                          .kind = kind,
                          .type = kind == EntryKind::Recipe ? to_string(entry[Key::recipe_type_name]) : std::string(),
                          .is_wanted = is_wanted});
        if (!is_wanted)
        {
            return;
        }
        auto const is_entry = kind == EntryKind::Recipe || kind == EntryKind::RecipeType;
        m_types += kind == EntryKind::RecipeType ? 1 : 0;
        m_recipes += kind == EntryKind::Recipe ? 1 : 0;
        for (auto parent = Tree::split_last(path).parent; !parent.empty(); parent = Tree::split_last(parent).parent)
        {
            m_in_folder[parent] += is_entry ? 1 : 0;
        }
    }

    bool is_shown(Row const& row) const { return row.is_wanted || m_in_folder.contains(row.path); }

    std::size_t count_of(Row const& row) const
    {
        auto const& counts = row.kind == EntryKind::RecipeType ? m_recipes_of : m_in_folder;
        auto const found = counts.find(row.kind == EntryKind::RecipeType ? relative_name(row.path) : row.path);
        return found == counts.end() ? 0 : found->second;
    }

    static std::string noun_of(Row const& row)
    {
        return row.kind == EntryKind::Folder && row.path.starts_with(Key::recipe_type_list) ? "recipe type" : "recipe";
    }

    std::size_t m_depth;
    Filter const& m_filter;
    std::vector<Row> m_rows;
    std::size_t m_types = 0;
    std::size_t m_recipes = 0;
    std::map<std::string, std::size_t> m_recipes_of;
    /// The wanted entries below each folder.
    std::map<std::string, std::size_t> m_in_folder;
};

} // namespace

Answer list(Invocation& invocation)
{
    auto const operands = invocation.operands();
    auto const path = operands.empty() ? std::string() : operands[0];
    std::string const domain(recipe_domain);
    auto const present = invocation.project().get(domain, path);
    if (!present.succeeded())
    {
        hint_at_missing_path(invocation, path);
        return configuration_answer(present);
    }
    auto const tree = recipe_configuration(invocation.project());
    auto const kind = path.empty() ? EntryKind::Folder : locate(path, tree).kind;
    if (kind != EntryKind::Folder && kind != EntryKind::Recipe && kind != EntryKind::RecipeType)
    {
        throw Failure(ErrorValue::INVALID_PATH, path + " holds no folders and entries; 'get' shows what stands there");
    }
    Filter const filter(invocation);
    Listing const listing(path, tree, filter);
    listing.print(invocation.output());
    Answer answer;
    answer.value = listing.value();
    return answer;
}

} // namespace Ravik::CommandLine
