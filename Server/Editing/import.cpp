#include "Editing/import.h"

#include "Configuration/Entry.h"
#include "Configuration/tree.h"
#include "Editing/entry_checks.h"
#include "api_helper.h"
#include "Json/Json.h"

#include <algorithm>
#include <array>
#include <unordered_set>
#include <utility>

namespace Ravik
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

constexpr std::array lists{Key::recipe_type_list, Key::recipe_list};

} // namespace

Import::Import(ImportSite site, Value data, ImportOptions const& options)
    : m_site(std::move(site)), m_data(std::move(data)), m_options(options)
{
    if (m_options.replace)
    {
        m_site.tree = Value(ValueType::Map);
    }
}

// Checking ------------------------------------------------------------------------------------------------------------

std::vector<Refusal> Import::check()
{
    if (auto refusal = check_lists())
    {
        return {std::move(refusal)};
    }
    for (auto list = std::as_const(m_data).begin(); list != std::as_const(m_data).end(); ++list)
    {
        collect(list.name(), *list, 1);
    }
    RefusalList refusals;
    auto const import_data = lists_afterwards();
    std::size_t done = 0;
    auto own = m_refusals.begin();
    for (auto const& piece : m_pieces)
    {
        if (auto refusal = piece.is_refused ? std::move(*own++) : ask(piece, import_data))
        {
            static_cast<void>(refusals.add(std::move(refusal)));
            if (!m_options.dry_run)
            {
                return refusals.take();
            }
        }
        show(++done);
    }
    refusals.add_more(m_more_refused);
    return refusals.take();
}

void Import::show(std::size_t done) const
{
    if (m_options.progress)
    {
        m_options.progress(done, m_pieces.size());
    }
}

Refusal Import::check_lists() const
{
    if (m_data.type() != ValueType::Map)
    {
        return {ErrorValue::TYPE_MISMATCH, R"(expected an object with "recipeTypeList" or "recipeList")", ""};
    }
    if (m_data.empty())
    {
        return {ErrorValue::REQUIRED_FIELD, R"(the import holds neither "recipeTypeList" nor "recipeList")", ""};
    }
    for (auto entry = m_data.begin(); entry != m_data.end(); ++entry)
    {
        std::string const name = entry.name();
        if (name != Key::recipe_type_list && name != Key::recipe_list)
        {
            return {ErrorValue::UNEXPECTED_FIELD,
                    R"(only "recipeTypeList" and "recipeList" can be imported, not ")" + name.substr(0, longest_name) +
                        "\"",
                    name};
        }
        if (entry->type() != ValueType::Map)
        {
            return {ErrorValue::TYPE_MISMATCH, "expected an object of entries and folders", name};
        }
    }
    return {};
}

/// What nests too deep is no further looked into, and refused later.
void Import::collect(std::string const& path, Value const& node, std::size_t depth)
{
    auto const kind = kind_of(path, node);
    auto const is_folder = kind == EntryKind::Folder;
    auto const merges = is_folder && RavikSrv::node_path(path, std::as_const(m_site.tree)).node != nullptr;
    Piece piece{.path = path, .kind = kind, .value = is_folder ? Value(ValueType::Map) : node, .merges = merges};
    auto refusal = check_piece(piece);
    take(std::move(piece), std::move(refusal));
    for (auto entry = node.begin(); is_folder && depth <= Json::max_nesting && entry != node.end(); ++entry)
    {
        if (auto unfit = check_name(path, entry.name()))
        {
            // It has no path; it is refused in its folder's name.
            take({.path = path, .merges = true}, std::move(unfit));
            continue;
        }
        collect(Tree::join(path, entry.name()), *entry, depth + 1);
    }
}

void Import::take(Piece piece, Refusal refusal)
{
    piece.is_refused = static_cast<bool>(refusal);
    if (piece.is_refused && m_refusals.size() == RefusalList::most)
    {
        ++m_more_refused;
    }
    else
    {
        m_pieces.push_back(std::move(piece));
    }
    if (refusal && m_refusals.size() < RefusalList::most)
    {
        m_refusals.push_back(std::move(refusal));
    }
    // None is through, but whoever looks on may have it ended.
    constexpr std::size_t interval = 1024;
    if ((m_pieces.size() + m_more_refused) % interval == 0)
    {
        show(0);
    }
}

Refusal Import::check_piece(Piece const& piece) const
{
    auto refusal = check_entry(m_site.schemas, piece.kind, piece.path, piece.value);
    refusal = refusal ? refusal : check_kind(piece);
    if (refusal || piece.kind != EntryKind::RecipeType)
    {
        return refusal;
    }
    auto const broken = broken_schemas(piece.path, piece.value);
    return broken.empty() ? Refusal() : broken.front();
}

Refusal Import::check_kind(Piece const& piece) const
{
    auto const* const present = RavikSrv::node_path(piece.path, std::as_const(m_site.tree)).node;
    auto const present_kind = present == nullptr ? piece.kind : kind_of(piece.path, *present);
    if ((present_kind == EntryKind::Folder) == (piece.kind == EntryKind::Folder))
    {
        return {};
    }
    return {ErrorValue::TYPE_MISMATCH,
            std::string("there is a ") + (present_kind == EntryKind::Folder ? "folder" : "recipe or recipe type") +
                " of this name already; delete it first, or import under another name",
            piece.path};
}

/// What can't be written is refused elsewhere.
Value Import::lists_afterwards() const
{
    auto after = m_site.tree;
    std::vector<Tree::Change> changes;
    for (auto const& piece : m_pieces)
    {
        if (!piece.merges)
        {
            static_cast<void>(Tree::write(after, piece.path, piece.value, Tree::WriteMode::Replace, changes));
        }
    }
    return lists_of(after);
}

Refusal Import::ask(Piece const& piece, Value const& import_data) const
{
    if (piece.merges)
    {
        return {};
    }
    auto value = piece.value;
    return explained(
        m_site.extension.before_import(m_site.context, piece.path, value, import_data, schema_type(piece.kind)),
        piece.path);
}

// Writing -------------------------------------------------------------------------------------------------------------

Refusal Import::write(Configuration::Turn& turn) const
{
    auto const& domain = m_site.extension.domain();
    for (auto const* const name : lists)
    {
        // A configuration may lack a list.
        auto const result = m_options.replace ? turn.remove(domain, name) : ErrorValue::SUCCESS;
        if (result != ErrorValue::SUCCESS && result != ErrorValue::ENTRY_NOT_FOUND)
        {
            return {result, "it could not be removed", name};
        }
    }
    for (auto const& piece : m_pieces)
    {
        auto const result =
            piece.merges ? ErrorValue::SUCCESS : turn.write(domain, piece.path, piece.value, Tree::WriteMode::Replace);
        if (result != ErrorValue::SUCCESS)
        {
            return {result, "it could not be written", piece.path};
        }
    }
    return {};
}

std::vector<Touched> Import::touched() const
{
    auto const& domain = m_site.extension.domain();
    std::vector<Touched> places;
    for (auto const* const name : lists)
    {
        if (m_options.replace && !m_pieces.empty())
        {
            places.push_back({.domain = domain, .path = name});
        }
    }
    for (auto const& piece : m_pieces)
    {
        if (!piece.merges && !m_options.replace)
        {
            places.push_back({.domain = domain, .path = piece.path});
        }
    }
    return places;
}

Refusal Import::tell() const
{
    Refusal first;
    for (auto const& piece : m_pieces)
    {
        if (!piece.merges)
        {
            auto const answer = m_site.extension.on_change(m_site.context, piece.path, schema_type(piece.kind));
            first = first ? first : explained(answer, piece.path);
        }
    }
    return first;
}

std::vector<std::string> Import::replaced_types() const
{
    std::vector<std::string> paths;
    for (auto const& piece : m_pieces)
    {
        if (piece.kind == EntryKind::RecipeType && RavikSrv::node_path(piece.path, m_site.tree).node != nullptr)
        {
            paths.push_back(piece.path);
        }
    }
    return paths;
}

bool Import::keeps_order(Value const& tree) const
{
    return std::all_of(lists.begin(), lists.end(),
                       [&](char const* list)
                       {
                           auto paths = entry_paths(list, m_site.tree);
                           std::unordered_set<std::string> const present(paths.begin(), paths.end());
                           for (auto const& piece : m_pieces)
                           {
                               auto const is_new = piece.kind != EntryKind::Folder && !present.contains(piece.path);
                               if (is_new && piece.path.starts_with(list + RavikSrv::path_separator()))
                               {
                                   paths.push_back(piece.path);
                               }
                           }
                           return paths == entry_paths(list, tree);
                       });
}

} // namespace Ravik
