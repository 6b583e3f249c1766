#include "Editing/entry_checks.h"

#include "Configuration/tree.h"
#include "api_helper.h"
#include "Json/Json.h"

namespace Ravik
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;

namespace
{

constexpr std::size_t shown_name = 40;

Refusal check_names(std::string const& path, Value const& named)
{
    for (auto entry = named.begin(); entry != named.end(); ++entry)
    {
        if (auto refusal = check_name(path, entry.name()))
        {
            return refusal;
        }
    }
    return {};
}

} // namespace

Refusal check_name(std::string const& path, std::string const& name)
{
    if (name.size() > longest_name)
    {
        return {ErrorValue::STRING_LENGTH_MISMATCH,
                "the name \"" + name.substr(0, shown_name) + "…\" is longer than " + std::to_string(longest_name) +
                    " bytes",
                path};
    }
    if (!Tree::is_path_component(name))
    {
        return {
            ErrorValue::INVALID_PATH,
            "the name \"" + name +
                "\" can't be addressed: a name is not empty, holds no \"::\", neither begins nor ends with \":\" and "
                "does not end with an index in brackets",
            path};
    }
    return {};
}

Refusal check_entry(EntrySchemas const& schemas, EntryKind kind, std::string const& path, Value const& entry)
{
    if (kind == EntryKind::Neither)
    {
        return {ErrorValue::TYPE_MISMATCH, "neither recipe nor folder: expected an object", path};
    }
    auto const fits = schemas.check(kind, path, entry);
    if (fits.result() != ErrorValue::SUCCESS)
    {
        return {fits.result(), fits.text(), path};
    }
    auto const* const named = kind == EntryKind::RecipeType ? Key::members : Key::values;
    auto const is_folder = kind == EntryKind::Folder;
    auto refusal = is_folder ? check_names(path, entry) : check_names(Tree::join(path, named), entry[named]);
    if (refusal)
    {
        return refusal;
    }
    // With its path, which nests it deeper wherever the configuration is written as a whole.
    auto const obstacle = Json::obstacle(Tree::alone(path, is_folder ? Value(RavikSrv::ValueType::Map) : entry));
    return obstacle.empty() ? Refusal() : Refusal{ErrorValue::ENCODE, "can't be stored: " + obstacle, path};
}

std::vector<Refusal> broken_schemas(std::string const& path, Value const& type)
{
    std::vector<Refusal> broken;
    Value const& members = type[Key::members];
    for (auto member = members.begin(); member != members.end(); ++member)
    {
        Value const& schema = (*member)[Key::member_schema];
        auto const error = schema.isset() ? CompiledSchema::compile(schema)->error() : RavikSrv::ResultPair();
        if (error.result() != ErrorValue::SUCCESS)
        {
            broken.push_back(
                {error.result(), std::string("the schema can't be used: ") + error.text(),
                 Tree::join(Tree::join(Tree::join(path, Key::members), member.name()), Key::member_schema)});
        }
    }
    return broken;
}

Refusal check_entries(EntrySchemas const& schemas, std::string const& path, Value const& tree)
{
    Refusal refusal;
    for_each_entry(
        path, tree,
        [&](std::string const& entry_path, Value const& entry, EntryKind kind)
        {
            auto const place = Tree::split_last(entry_path);
            refusal = place.parent.empty() ? Refusal() : check_name(place.parent, place.name);
            refusal = refusal ? refusal : check_entry(schemas, kind, entry_path, entry);
            return !refusal;
        },
        Folders::Visited);
    return refusal;
}

} // namespace Ravik
