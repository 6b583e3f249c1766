#include "Configuration/references.h"

#include "Configuration/Entry.h"
#include "Configuration/MemberIndex.h"
#include "Configuration/tree.h"
#include "algorithm_helper.h"
#include "api_helper.h"

#include <utility>

namespace Ravik
{

using RavikSrv::Value;
using RavikSrv::Algorithm::to_string;

namespace
{

std::string type_path(std::string const& name)
{
    return Tree::join(Key::recipe_type_list, name);
}

class Reader
{
public:
    Reader(Value const& tree, std::function<bool(Reference const&)> keep)
        : m_tree(tree), m_index(tree), m_keep(std::move(keep))
    {
    }

    std::vector<Reference> read()
    {
        for_each_entry("", m_tree,
                       [this](std::string const& path, Value const& entry, EntryKind kind)
                       {
                           if (kind == EntryKind::RecipeType)
                           {
                               read_type(path, entry);
                           }
                           else if (kind == EntryKind::Recipe)
                           {
                               read_recipe(path, entry);
                           }
                           return true;
                       });
        return std::move(m_references);
    }

private:
    void read_type(std::string const& path, Value const& type)
    {
        Value const& inherited = type[Key::recipe_type_names];
        std::size_t index = 0;
        for (auto name = inherited.begin_vector(); name != inherited.end_vector(); ++name, ++index)
        {
            add(Reference::Kind::InheritedType, Tree::join(path, "recipeTypeNames[" + std::to_string(index) + "]"),
                type_path(to_string(*name)));
        }
        Value const& members = type[Key::members];
        for (auto member = members.begin(); member != members.end(); ++member)
        {
            Value const& described = *member;
            if (auto const nested = to_string(described[Key::recipe_type]); !nested.empty())
            {
                auto const holder = Tree::join(Tree::join(path, Key::members), member.name());
                add(Reference::Kind::NestedType, Tree::join(holder, Key::recipe_type), type_path(nested));
            }
        }
    }

    void read_recipe(std::string const& path, Value const& recipe)
    {
        auto const type = to_string(recipe[Key::recipe_type_name]);
        if (type.empty())
        {
            return;
        }
        add(Reference::Kind::RecipeType, Tree::join(path, Key::recipe_type_name), type_path(type));
        auto const* const members = m_index.members_of(type);
        Value const& values = recipe[Key::values];
        for (auto value = values.begin(); members != nullptr && value != values.end(); ++value)
        {
            read_value(Tree::join(Tree::join(path, Key::values), value.name()), value.name(), *value, type, *members);
        }
    }

    void read_value(std::string const& holder, std::string const& name, Value const& value, std::string const& type,
                    MemberIndex::Members const& members)
    {
        auto const found = members.find(name);
        take({.kind = Reference::Kind::ValueMember,
              .holder = holder,
              .target = found != members.end() ? found->second.path
                                               : Tree::join(Tree::join(type_path(type), Key::members), name),
              .found = found != members.end()});
        if (found == members.end() || !found->second.nests_type)
        {
            return;
        }
        auto const named = to_string(value);
        if (!named.empty())
        {
            auto const is_full_path = named.starts_with(std::string(Key::recipe_list) + RavikSrv::path_separator());
            add(Reference::Kind::NestedRecipe, holder, is_full_path ? named : Tree::join(Key::recipe_list, named),
                found->second.path);
        }
    }

    void add(Reference::Kind kind, std::string holder, std::string target, std::string member = {})
    {
        auto const* const node = RavikSrv::node_path(target, m_tree).node;
        auto const wanted = kind == Reference::Kind::NestedRecipe ? EntryKind::Recipe : EntryKind::RecipeType;
        auto const found = node != nullptr && kind_of(target, *node) == wanted;
        take({.kind = kind,
              .holder = std::move(holder),
              .target = std::move(target),
              .found = found,
              .member = std::move(member)});
    }

    void take(Reference&& reference)
    {
        if (m_keep(reference))
        {
            m_references.push_back(std::move(reference));
        }
    }

    Value const& m_tree;
    MemberIndex m_index;
    std::function<bool(Reference const&)> m_keep;
    std::vector<Reference> m_references;
};

} // namespace

char const* to_text(Reference::Kind kind) noexcept
{
    switch (kind)
    {
    case Reference::Kind::RecipeType:
        return "recipe type";
    case Reference::Kind::InheritedType:
        return "inherited type";
    case Reference::Kind::NestedType:
        return "nested type";
    case Reference::Kind::NestedRecipe:
        return "nested recipe";
    case Reference::Kind::ValueMember:
        return "member";
    }
    return "";
}

std::vector<Reference> read_references(Value const& tree)
{
    return read_references(tree, [](Reference const& /*reference*/) { return true; });
}

std::vector<Reference> read_references(Value const& tree, std::function<bool(Reference const&)> keep)
{
    return Reader(tree, std::move(keep)).read();
}

} // namespace Ravik
