#pragma once

#include "RavikSrvExtApi.h"

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Ravik::Test
{

/// A recipe configuration as plain lists of names, and what a delete or rename must leave of it. It knows no paths, no
/// trees and nothing of the server's code: it is slow and simple, so that one can see that it is right.
class Model
{
public:
    struct Member
    {
        std::string symbol;
        /// The type that the member nests; it has no symbol then.
        std::string nested;
    };
    struct Type
    {
        std::vector<std::string> inherited;
        std::vector<std::pair<std::string, Member>> members;
    };
    struct Recipe
    {
        std::string type;
        /// Numbers, or the names of nested recipes, as text.
        std::map<std::string, std::string> values;
    };

    /// By their names, folders included.
    std::map<std::string, Type> types;
    std::map<std::string, Recipe> recipes;

    /// Whether the edit is wrong by itself; `to` is empty for a delete.
    bool refuses_types(std::string const& from, std::string const& to) const;
    bool refuses_recipes(std::string const& from, std::string const& to) const;
    bool refuses_member(std::string const& type, std::string const& from, std::string const& to) const;

    /// What a move of a type or recipe, or of a folder of these, or of a member leaves.
    void move_types(std::string const& from, std::string const& to);
    void move_recipes(std::string const& from, std::string const& to);
    void move_member(std::string const& type, std::string const& from, std::string const& to);

    /// Whether the recipe's value of that name names a nested recipe.
    bool names_recipe(Recipe const& recipe, std::string const& value_name) const;

    /// Everything in the short notation, sorted, but for the order of members and inherited types.
    std::string text() const;

private:
    bool loses_recipe(Recipe const& recipe, std::string const& value_name, std::string const& from) const;
    void delete_types(std::string const& from);
    /// What stands under a name in the recipes of a type: a member of a type, or a type itself.
    struct Record
    {
        std::string name;
        std::string type;
        bool is_member = false;
        /// The type that a member nests.
        std::string nested = {};
    };

    void walk(std::string const& type, std::vector<Record>& records) const;
    /// The first record of that name in the recipe's type.
    std::optional<Record> record_of(Recipe const& recipe, std::string const& name) const;
    bool reaches(std::string const& from, std::string const& type) const;
    bool stands_for_type(Recipe const& recipe, std::string const& value_name) const;
    bool gives_values_a_name(std::string const& type) const;
    bool is_taken(std::string const& type, std::string const& name, bool by_members_alone) const;

    std::vector<Record> records_of(std::string const& type) const
    {
        std::vector<Record> records;
        walk(type, records);
        return records;
    }
};

} // namespace Ravik::Test
