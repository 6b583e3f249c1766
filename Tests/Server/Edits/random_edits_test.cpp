#include "EditedProject.h"

#include "Configuration/Entry.h"
#include "api_helper.h"
#include "Json/Json.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

namespace Ravik::Test
{
namespace
{

class Random
{
public:
    int below(int limit) { return std::uniform_int_distribution(0, limit - 1)(m_engine); }
    bool happens(int percent) { return below(100) < percent; }
    std::string const& of(std::vector<std::string> const& choices)
    {
        return choices[static_cast<std::size_t>(below(static_cast<int>(choices.size())))];
    }

private:
    std::mt19937 m_engine{1}; // NOLINT(cert-msc51-cpp,cert-msc32-c): the same edits in every run
};

// Names that contain each other, in folders that do as well. Some members and values are called like types.
std::vector<std::string> const folders{"", "", "F::", "FA::", "F::G::"};
std::vector<std::string> const type_names{"A", "AB", "B", "T", "TA"};
std::vector<std::string> const recipe_names{"R", "R1", "R10", "1", "F"};
std::vector<std::string> const plain_members{"m", "mn", "k"};
std::vector<std::string> const nesting_members{"n", "A"};
std::vector<std::string> const symbols{"k", "l", "m", "n", "o"};

/// A configuration in the short notation; not each of them can be imported.
std::string random_configuration(Random& random)
{
    std::string text;
    std::vector<std::string> types;
    for (int count = 1 + random.below(5); count > 0; --count)
    {
        auto const name = random.of(folders) + random.of(type_names);
        text += name + "(";
        for (auto const& other : types)
        {
            text += random.happens(25) ? other + "," : "";
        }
        text += ") {";
        for (auto const& member : plain_members)
        {
            text += random.happens(40) ? " " + member + ":" + random.of(symbols) : "";
        }
        for (auto const& member : nesting_members)
        {
            text += !types.empty() && random.happens(40) ? " " + member + ">" + random.of(types) : "";
        }
        text += " } ";
        types.push_back(name);
    }
    text += "| ";
    std::vector<std::string> recipes;
    for (int count = random.below(7); count > 0; --count)
    {
        auto const name = random.of(folders) + random.of(recipe_names);
        text += name + ":" + random.of(types) + " {";
        for (auto const& member : plain_members)
        {
            text += random.happens(60) ? " " + member + "=" + std::to_string(random.below(3)) : "";
        }
        for (auto const& names : {nesting_members, type_names})
        {
            auto const& value = random.of(names);
            text += !recipes.empty() && random.happens(50) ? " " + value + "='" + random.of(recipes) : "";
        }
        text += " } ";
        recipes.push_back(name);
    }
    return text;
}

bool is_below(std::string const& path, std::string const& above)
{
    return path == above || path.starts_with(above + "::");
}

/// A delete, or a rename where there is a second path.
struct Edit
{
    std::string from;
    std::string to;

    std::string moved(std::string const& path) const
    {
        return is_below(path, from) ? to + path.substr(from.size()) : path;
    }
};

Edit random_edit(Value const& tree, Random& random)
{
    auto const is_rename = random.happens(70);
    auto const in_types = random.happens(60);
    std::string const list = in_types ? "recipeTypeList" : "recipeList";
    auto const entries = entry_paths(list, tree);
    auto from = entries.empty() ? list + "::R" : random.of(entries);
    if (in_types && random.happens(40))
    {
        auto const& members = random.happens(70) ? plain_members : nesting_members;
        auto const members_path = from + "::members::";
        return {members_path + random.of(members), is_rename ? members_path + random.of(members) : ""};
    }
    if (random.happens(25) && from.rfind("::") != list.size())
    {
        from.erase(from.rfind("::"));
    }
    return {from, is_rename ? list + "::" + random.of(folders) + random.of(in_types ? type_names : recipe_names) : ""};
}

/// What each entry comes to, whatever the names: of a recipe what an activation would write, of a type how many others
/// it inherits and the symbols of its members.
using Meaning = std::map<std::string, std::vector<std::string>>;

Meaning meaning(EditedProject const& edited)
{
    auto const tree = edited.get("");
    Meaning all;
    for (auto const& path : entry_paths("recipeList", tree))
    {
        auto& writes = all[path];
        auto const plan = edited.project->plan(relative_name(path));
        writes.push_back(name(plan.error));
        for (auto const& row : plan.rows)
        {
            writes.push_back(row.symbol + "=" + Json::write(row.value));
        }
        std::sort(writes.begin(), writes.end());
    }
    for (auto const& path : entry_paths("recipeTypeList", tree))
    {
        Value const& type = *RavikSrv::node_path(path, tree).node;
        all[path] = std::vector<std::string>(type["recipeTypeNames"].size(), "inherits");
        for (Value const& described : type["members"])
        {
            all[path].push_back("member " + std::string(described["symbol"].get_text()));
        }
        std::sort(all[path].begin(), all[path].end());
    }
    return all;
}

bool has_faults(EditedProject const& edited)
{
    auto const findings = edited.project->check(edited.domain);
    return std::any_of(findings.begin(), findings.end(), [](Finding const& finding) { return !finding.is_note(); });
}

/// A rename moves names alone.
void expect_renamed(Edit const& edit, Meaning const& before, Meaning const& after)
{
    Meaning expected;
    for (auto const& [path, content] : before)
    {
        expected[edit.moved(path)] = content;
    }
    EXPECT_EQ(after, expected);
}

Value const& at(std::string const& path, Value const& tree)
{
    auto const* const node = RavikSrv::node_path(path, tree).node;
    static Value const none;
    return node == nullptr ? none : *node;
}

/// A delete takes along what stands there and the recipes of deleted types. In the rest, values that name a deleted
/// recipe are emptied, and those of a deleted member go.
void expect_deleted(Edit const& edit, Value const& before, Value const& after)
{
    auto const goes = [&](std::string const& path)
    {
        Value const& type = at(path, before)["recipeTypeName"];
        return is_below(path, edit.from) ||
               (type.isset() && is_below("recipeTypeList::" + std::string(type.get_text()), edit.from));
    };
    for (auto const& path : entry_paths("recipeTypeList", before))
    {
        EXPECT_EQ(at(path, after).isset(), !goes(path)) << path;
    }
    for (auto const& path : entry_paths("recipeList", before))
    {
        EXPECT_EQ(at(path, after).isset(), !goes(path)) << path;
        Value const& values = at(path, before)["values"];
        for (auto value = values.begin(); !goes(path) && value != values.end(); ++value)
        {
            Value const& left = at(path, after)["values"][value.name()];
            auto const is_emptied = left == Value("") && goes("recipeList::" + std::string(value->get_text()));
            auto const is_gone = !left.isset() && edit.from.ends_with(std::string("::members::") + value.name());
            EXPECT_TRUE(left == *value || is_emptied || is_gone) << path << " " << value.name();
        }
    }
}

TEST(RandomEdits, keep_the_meaning_of_what_they_do_not_delete)
{
    Random random;
    EditedProject edited("A { m } |");
    int made = 0;
    int refused = 0;
    for (int round = 0; round < 300; ++round)
    {
        auto const configuration = random_configuration(random);
        ImportOptions replace;
        replace.replace = true;
        if (!edited.project->import(edited.domain, configuration_of(configuration), replace).succeeded() ||
            has_faults(edited))
        {
            continue;
        }
        for (int count = 0; count < 4; ++count)
        {
            auto const tree = edited.get("");
            auto const before = meaning(edited);
            auto const edit = random_edit(tree, random);
            SCOPED_TRACE(configuration + ": " + edit.from + " > " + edit.to + " in " + dump(tree));
            auto const report = edit.to.empty() ? edited.project->remove(edited.domain, edit.from, {})
                                                : edited.project->rename(edited.domain, edit.from, edit.to, {});
            ++(report.succeeded() ? made : refused);
            EXPECT_FALSE(has_faults(edited));
            if (!report.succeeded())
            {
                EXPECT_EQ(edited.get(""), tree) << report.text;
                continue;
            }
            edit.to.empty() ? expect_deleted(edit, tree, edited.get(""))
                            : expect_renamed(edit, before, meaning(edited));
            ASSERT_FALSE(HasFailure());
        }
        auto const order = edited.listed();
        edited.reopen();
        EXPECT_EQ(edited.listed(), order) << "the extension knows the recipes as one that was started afresh";
    }
    EXPECT_GT(made, 300);
    EXPECT_GT(refused, 200);
}

} // namespace
} // namespace Ravik::Test
