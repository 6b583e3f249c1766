#include "Model.h"

#include <algorithm>
#include <set>

namespace Ravik::Test
{

namespace
{

bool is_below(std::string const& name, std::string const& folder)
{
    return name == folder || name.rfind(folder + "::", 0) == 0;
}

std::string moved(std::string const& name, std::string const& from, std::string const& to)
{
    return is_below(name, from) ? to + name.substr(from.size()) : name;
}

template <typename Range, typename Holds> bool any(Range const& range, Holds const& holds)
{
    return std::any_of(range.begin(), range.end(), holds);
}

/// Whether entries called `from`, or below it, can get the name `to`.
template <typename Entries> bool is_wrong(Entries const& entries, std::string const& from, std::string const& to)
{
    auto const is_moved = [&](auto const& entry) { return is_below(entry.first, from); };
    auto const is_in_the_way = [&](auto const& entry)
    { return is_below(entry.first, to) || is_below(to, entry.first); };
    return !any(entries, is_moved) || (!to.empty() && (is_below(to, from) || any(entries, is_in_the_way)));
}

} // namespace

// What stands under a name --------------------------------------------------------------------------------------------

void Model::walk(std::string const& type, std::vector<Record>& records) const
{
    auto const found = types.find(type);
    if (found == types.end())
    {
        return;
    }
    for (auto const& inherited : found->second.inherited)
    {
        records.push_back({.name = inherited, .type = inherited});
        walk(inherited, records);
    }
    for (auto const& [name, member] : found->second.members)
    {
        records.push_back({.name = name, .type = type, .is_member = true, .nested = member.nested});
        if (!member.nested.empty())
        {
            records.push_back({.name = member.nested, .type = member.nested});
            walk(member.nested, records);
        }
    }
}

std::optional<Model::Record> Model::record_of(Recipe const& recipe, std::string const& name) const
{
    auto const records = records_of(recipe.type);
    auto const found =
        std::find_if(records.begin(), records.end(), [&](Record const& record) { return record.name == name; });
    return found == records.end() ? std::nullopt : std::optional(*found);
}

bool Model::names_recipe(Recipe const& recipe, std::string const& value_name) const
{
    auto const record = record_of(recipe, value_name);
    return record && (!record->is_member || !record->nested.empty());
}

/// Whether `from` is the type or inherits or nests it.
bool Model::reaches(std::string const& from, std::string const& type) const
{
    auto const records = records_of(from);
    return from == type || any(records, [&](Record const& record) { return !record.is_member && record.type == type; });
}

/// Whether the value stands under the name of a type, not of a member.
bool Model::stands_for_type(Recipe const& recipe, std::string const& value_name) const
{
    auto const record = record_of(recipe, value_name);
    return record && !record->is_member;
}

bool Model::gives_values_a_name(std::string const& type) const
{
    return any(recipes, [&](auto const& recipe)
               { return recipe.second.values.contains(type) && stands_for_type(recipe.second, type); });
}

/// Whether a member or value of that name stands where those of the type are found.
bool Model::is_taken(std::string const& type, std::string const& name, bool by_members_alone) const
{
    auto const has_member = [&](auto const& user)
    {
        auto const records = records_of(user.first);
        return reaches(user.first, type) &&
               any(records, [&](Record const& record)
                   { return record.name == name && (record.is_member || !by_members_alone); });
    };
    auto const has_value = [&](auto const& recipe)
    { return reaches(recipe.second.type, type) && recipe.second.values.contains(name); };
    return any(types, has_member) || any(recipes, has_value);
}

// Refusals ------------------------------------------------------------------------------------------------------------

bool Model::refuses_types(std::string const& from, std::string const& to) const
{
    if (to.empty() || is_wrong(types, from, to))
    {
        return is_wrong(types, from, to);
    }
    return any(types,
               [&](auto const& type)
               {
                   auto const name = moved(type.first, from, to);
                   return is_below(type.first, from) &&
                          (is_taken(type.first, name, true) ||
                           (name.find("::") != std::string::npos && gives_values_a_name(type.first)));
               });
}

bool Model::refuses_recipes(std::string const& from, std::string const& to) const
{
    return is_wrong(recipes, from, to);
}

bool Model::refuses_member(std::string const& type, std::string const& from, std::string const& to) const
{
    auto const found = types.find(type);
    auto const has = [&](std::string const& name)
    { return any(found->second.members, [&](auto const& member) { return member.first == name; }); };
    return found == types.end() || !has(from) || (!to.empty() && is_taken(type, to, false));
}

// Moves ---------------------------------------------------------------------------------------------------------------

/// Whether a value goes empty with a nested recipe of a type that goes: not where its member, or the type that it
/// stands under, goes as well.
bool Model::loses_recipe(Recipe const& recipe, std::string const& value_name, std::string const& from) const
{
    auto const is_moved = [&](std::string const& name) { return is_below(name, from) && types.contains(name); };
    auto const record = record_of(recipe, value_name);
    return names_recipe(recipe, value_name) && !(record && (is_moved(record->type) || is_moved(record->nested)));
}

void Model::delete_types(std::string const& from)
{
    auto const is_moved = [&](std::string const& name) { return is_below(name, from) && types.contains(name); };
    auto const goes = [&](std::string const& name)
    {
        auto const recipe = recipes.find(name);
        return recipe != recipes.end() && is_moved(recipe->second.type);
    };
    auto after = *this;
    for (auto& [name, recipe] : after.recipes)
    {
        for (auto& entry : recipe.values)
        {
            if (goes(entry.second) && loses_recipe(recipe, entry.first, from))
            {
                entry.second.clear();
            }
        }
    }
    for (auto& [name, type] : after.types)
    {
        std::erase_if(type.inherited, is_moved);
        std::erase_if(type.members, [&](auto const& member) { return is_moved(member.second.nested); });
    }
    std::erase_if(after.types, [&](auto const& type) { return is_moved(type.first); });
    std::erase_if(after.recipes, [&](auto const& recipe) { return goes(recipe.first); });
    *this = after;
}

void Model::move_types(std::string const& from, std::string const& to)
{
    if (to.empty())
    {
        return delete_types(from);
    }
    auto const is_moved = [&](std::string const& name) { return is_below(name, from) && types.contains(name); };
    Model after;
    auto const renamed = [&](std::string const& name) { return is_moved(name) ? moved(name, from, to) : name; };
    for (auto [name, type] : types)
    {
        std::transform(type.inherited.begin(), type.inherited.end(), type.inherited.begin(), renamed);
        for (auto& [member_name, member] : type.members)
        {
            member.nested = renamed(member.nested);
        }
        after.types.emplace(renamed(name), type);
    }
    for (auto const& [name, recipe] : recipes)
    {
        Recipe changed{.type = renamed(recipe.type), .values = {}};
        for (auto const& [value_name, value] : recipe.values)
        {
            changed.values[stands_for_type(recipe, value_name) ? renamed(value_name) : value_name] = value;
        }
        after.recipes.emplace(name, changed);
    }
    *this = after;
}

void Model::move_recipes(std::string const& from, std::string const& to)
{
    Model after;
    after.types = types;
    for (auto const& [name, recipe] : recipes)
    {
        auto changed = recipe;
        for (auto& [value_name, value] : changed.values)
        {
            if (recipes.contains(value) && is_below(value, from) && names_recipe(recipe, value_name))
            {
                value = to.empty() ? "" : moved(value, from, to);
            }
        }
        if (!is_below(name, from) || !to.empty())
        {
            after.recipes.emplace(moved(name, from, to), changed);
        }
    }
    *this = after;
}

void Model::move_member(std::string const& type, std::string const& from, std::string const& to)
{
    auto after = *this;
    auto& members = after.types.at(type).members;
    auto const place =
        std::find_if(members.begin(), members.end(), [&](auto const& member) { return member.first == from; });
    auto member = *place;
    members.erase(place);
    if (!to.empty())
    {
        member.first = to;
        members.push_back(member);
        for (auto const& [name, recipe] : recipes)
        {
            auto const record = record_of(recipe, from);
            auto const value = recipe.values.find(from);
            if (value != recipe.values.end() && record && record->is_member && record->type == type)
            {
                after.recipes.at(name).values.erase(from);
                after.recipes.at(name).values[to] = value->second;
            }
        }
    }
    *this = after;
}

std::string Model::text() const
{
    std::string text;
    for (auto const& [name, type] : types)
    {
        text += name + "(";
        for (auto const& inherited : type.inherited)
        {
            text += inherited + ",";
        }
        text += ") {";
        for (auto const& [member_name, member] : type.members)
        {
            text += " " + member_name + (member.nested.empty() ? ":" + member.symbol : ">" + member.nested);
        }
        text += " }\n";
    }
    text += "|\n";
    for (auto const& [name, recipe] : recipes)
    {
        text += name + ":" + recipe.type + " {";
        for (auto const& [value_name, value] : recipe.values)
        {
            text += " " + value_name + (names_recipe(recipe, value_name) ? "='" : "=") + value;
        }
        text += " }\n";
    }
    return text;
}

} // namespace Ravik::Test
