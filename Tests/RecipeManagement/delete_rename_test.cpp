#include "RecipeNotation.h"
#include "ResultText.h"

#include "PathIterator.h"
#include "algorithm_helper.h"

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <set>
#include <thread>

using namespace Ravik::Test;
using namespace RavikSrv;

namespace
{

constexpr char const* domain = RecipeManagementFixture::domain;

/// Stores what is written, indices included, and notifies of each write before it returns.
class NotifyingHost : public RecordingHost
{
public:
    /// Writes, counted from 1, that fail.
    std::set<std::size_t> failing_writes;

    Value& config() { return configuration[domain]; }

    ErrorValue set_config_value(Context const& context, char const* path, Value const* value) override
    {
        config_writes.emplace_back(path, value != nullptr ? *value : Value());
        if (failing_writes.contains(config_writes.size()))
        {
            return ErrorValue::SERVER;
        }
        auto const result = apply(path, value);
        auto* const listener = dynamic_cast<IRavikSrvConfigListener*>(listeners.back().listener);
        if (result == ErrorValue::SUCCESS && value == nullptr)
        {
            listener->on_delete(context, path, Value(), "");
        }
        else if (result == ErrorValue::SUCCESS)
        {
            listener->on_change(context, path, "");
        }
        return result;
    }

    ErrorValue apply(std::string const& path, Value const* value)
    {
        auto* entry = &config();
        Value* parent = nullptr;
        PathIterator components(path);
        while (entry != nullptr && components.next())
        {
            parent = entry;
            entry = node(parent, components.component(), value != nullptr);
            if (value != nullptr && entry != nullptr && !entry->isset())
            {
                entry->set_type(ValueType::Map);
            }
        }
        if (entry == nullptr || parent == nullptr)
        {
            return ErrorValue::ENTRY_NOT_FOUND;
        }
        if (value != nullptr)
        {
            *entry = *value;
        }
        else if (std::size_t index = 0;
                 parent->type() == ValueType::Vector && Algorithm::try_as_size_t(components.component(), index))
        {
            parent->erase(index);
        }
        else
        {
            parent->erase(components.component().c_str());
        }
        return ErrorValue::SUCCESS;
    }
};

/// The content in short, entries by name; empty vectors count as missing.
std::string dump(Value const& value)
{
    std::map<std::string, std::string> entries;
    for (auto entry = value.begin(); entry != value.end(); ++entry)
    {
        entries[entry.name()] = dump(*entry);
    }
    std::string text = value.type() == ValueType::Map ? "{" : "";
    for (auto const& [name, content] : entries)
    {
        text += content.empty() ? "" : " " + name + ":" + content;
    }
    for (auto entry = value.begin_vector(); entry != value.end_vector(); ++entry)
    {
        text += "," + dump(*entry);
    }
    auto const is_text = value.type() == ValueType::String;
    return text + (value.type() == ValueType::Map ? " }" : is_text ? "'" : "") + Algorithm::to_string(value);
}

class DeleteRename : public testing::Test
{
protected:
    /// Notifies of every entry, first of those in `ghosts`, which are not there.
    void configure(std::string const& types, std::string const& recipes, std::string const& ghosts = "")
    {
        extension.reset();
        host.listeners.clear();
        extension = std::make_unique<LoadedExtension>(RECIPE_MANAGEMENT_LIBRARY, host, domain);
        host.config() = configuration_of(types, recipes);
        host.config_writes.clear();
        std::istringstream paths(ghosts);
        for (std::string path; paths >> path;)
        {
            notify(path);
        }
        Value const config = host.config();
        notify_all("recipeTypeList", config["recipeTypeList"], "members");
        notify_all("recipeList", config["recipeList"], "values");
    }

    void notify(std::string const& path)
    {
        extension->changes().on_change(extension->context(), path.c_str(), "recipe");
    }

    void notify_all(std::string const& path, Value const& folder, char const* entry_key)
    {
        for (auto entry = folder.begin(); entry != folder.end(); ++entry)
        {
            auto const entry_path = path + "::" + entry.name();
            if ((*entry)[entry_key].isset())
            {
                notify(entry_path);
            }
            else
            {
                notify_all(entry_path, *entry, entry_key);
            }
        }
    }

    /// A client's delete, or rename where there is a new path.
    std::string edit(std::string const& path, std::string const& new_path)
    {
        auto const entry = *node_path(path, std::as_const(host.config())).node;
        host.apply(path, nullptr);
        auto& changes = extension->changes();
        if (new_path.empty())
        {
            return text_of(changes.on_delete(extension->context(), path.c_str(), entry, ""));
        }
        host.apply(new_path, &entry);
        return text_of(changes.on_rename(extension->context(), path.c_str(), new_path.c_str(), ""));
    }

    /// The names of the recipes that are stored, in their order, and where their walk ended.
    /// A rename of all types to themselves writes to them.
    std::string stored_recipes()
    {
        host.config_writes.clear();
        host.failing_writes.clear();
        auto const answer =
            extension->changes().on_rename(extension->context(), "recipeTypeList", "recipeTypeList", "");
        std::string names;
        for (auto [path, value] : host.config_writes)
        {
            if (Algorithm::remove_start(path, "recipeList::"))
            {
                names += (names.empty() ? "" : " ") + path.substr(0, path.rfind("::"));
            }
        }
        return Algorithm::empty(answer.text()) ? names : names + " (" + answer.text() + ")";
    }

    NotifyingHost host;
    std::unique_ptr<LoadedExtension> extension;
};

struct Scenario
{
    char const* about;
    char const* types;
    char const* recipes;
    char const* path;
    char const* new_path;
    char const* types_after;
    char const* recipes_after;
    char const* answer = "SUCCESS | ";
    char const* ghosts = "";
};

} // namespace

TEST_F(DeleteRename, leaves_the_whole_configuration_as_it_should)
{
    Scenario const scenarios[] = {
        {"rename a type", "T { a:A } V(W,T) { n>T b:B } W { }", "R:T { a=1 } S:V { n=R b=2 }", "recipeTypeList::T",
         "recipeTypeList::U", "U { a:A } V(W,U) { n>U b:B } W { }", "R:U { a=1 } S:V { n=R b=2 }"},
        {"delete a type", "T { a:A } V(W,T) { n>T b:B } W { }", "R:T { a=1 } S:V { n=R b=2 }", "recipeTypeList::T", "",
         "V(W) { b:B } W { }", "S:V { n=R b=2 }"},
        {"rename a folder of types", "F::T { a:A } F::U(F::T) { } V { n>F::T }", "R:F::T { a=1 } S:F::U { } Q:V { }",
         "recipeTypeList::F", "recipeTypeList::G::H", "G::H::T { a:A } G::H::U(G::H::T) { } V { n>G::H::T }",
         "R:G::H::T { a=1 } S:G::H::U { } Q:V { }"},
        {"delete a folder of types", "F::T { } V { n>F::T b:B }", "R:F::T { } Q:V { b=1 }", "recipeTypeList::F", "",
         "V { b:B }", "Q:V { b=1 }"},
        {"the second removal counts from the list before the first", "F::T { } F::U { } V(F::T,F::U,W) { } W { }", "",
         "recipeTypeList::F", "", "V(F::U) { } W { }", ""},
        {"and ends the cascade where nothing stands there", "F::T { } F::U { } V(F::T,F::U) { n>F::T }", "R:F::T { }",
         "recipeTypeList::F", "", "V(F::U) { n>F::T }", "R:F::T { }",
         "ENTRY_NOT_FOUND | DELETE_RENAME_PARTLY_FAILED: recipeTypeList::V::recipeTypeNames[1]"},
        {"deleting A takes the recipes of AB with it", "A { } AB { b:B } C(AB) { n>AB c:C }", "R:A { } S:AB { b=1 }",
         "recipeTypeList::A", "", "AB { b:B } C { c:C }", ""},
        {"renaming A beside AB carries nothing", "AB { b:B } A { } C(A,AB) { n>AB c:C }", "R:A { } S:AB { b=1 }",
         "recipeTypeList::A", "recipeTypeList::X", "AB { b:B } X { } C(A,AB) { n>AB c:C }", "R:A { } S:AB { b=1 }"},
        {"the first occurrence alone", "F::T { } V(F::T) { n>F::T }", "R:F::T { }", "recipeTypeList::F",
         "recipeTypeList::recipeTypeList::F",
         "recipeTypeList::F::T { } V(recipeTypeList::F::T) { n>recipeTypeList::F::T }", "R:recipeTypeList::F::T { }"},
        {"a missing type ends the cascade", "T { } V(T) { }", "R:T { }", "recipeTypeList::T", "recipeTypeList::U",
         "U { } V(T) { }", "R:T { }", "SUCCESS | ", "recipeTypeList::Ghost"},
        {"a missing recipe is an error", "T { } V(T) { }", "R:T { }", "recipeTypeList::T", "recipeTypeList::U",
         "U { } V(U) { }", "R:T { }", "ENTRY_NOT_FOUND | recipeList::Ghost", "recipeList::Ghost"},

        {"rename a member", "T { a:A } V { a:B }", "R:T { a=1 } S:V { a=2 } F::Q:T { a=3 b=4 }",
         "recipeTypeList::T::members::a", "recipeTypeList::T::members::z", "T { z:A } V { a:B }",
         "R:T { z=1 } S:V { a=2 } F::Q:T { z=3 b=4 }"},
        {"a recipe without the member ends the pass", "T { a:A }", "R:T { a=1 } S:T { b=2 } Q:T { a=3 }",
         "recipeTypeList::T::members::a", "recipeTypeList::T::members::z", "T { z:A }",
         "R:T { z=1 } S:T { b=2 } Q:T { a=3 }"},
        {"any type whose name is part of the path counts", "T { a:A } TT { a:B } e { a:A }",
         "R:T { a=1 } S:TT { a=2 } Q:e { a=3 }", "recipeTypeList::TT::members::a", "recipeTypeList::TT::members::z",
         "T { a:A } TT { z:B } e { a:A }", "R:T { z=1 } S:TT { z=2 } Q:e { z=3 }"},
        {"delete a member", "T { a:A b:B }", "R:T { a=1 b=2 }", "recipeTypeList::T::members::a", "", "T { b:B }",
         "R:T { a=1 b=2 }"},
        {"a missing recipe ends a member's rename", "T { a:A }", "R:T { a=1 }", "recipeTypeList::T::members::a",
         "recipeTypeList::T::members::z", "T { z:A }", "R:T { a=1 }", "ENTRY_NOT_FOUND | DELETE_RENAME_PARTLY_FAILED",
         "recipeList::Ghost"},
        {"and its delete", "T { a:A }", "R:T { a=1 }", "recipeTypeList::T::members::a", "", "T { }", "R:T { a=1 }",
         "ENTRY_NOT_FOUND | DELETE_RENAME_PARTLY_FAILED", "recipeList::Ghost"},
        {"and of an inherited type's name", "T(U) { } U { }", "", "recipeTypeList::T::recipeTypeNames[0]", "",
         "T { } U { }", "", "ENTRY_NOT_FOUND | DELETE_RENAME_PARTLY_FAILED", "recipeList::Ghost"},

        {"rename a recipe", "T { } V { n>T m>T b:B }", "Q:V { n=R m= b=R } R:T { }", "recipeList::R", "recipeList::S",
         "T { } V { n>T m>T b:B }", "Q:V { n=S m= b=R } S:T { }"},
        {"delete a recipe", "T { } V { n>T b:B }", "Q:V { n=R b=R } P:V { n=Rx } R:T { }", "recipeList::R", "",
         "T { } V { n>T b:B }", "Q:V { n= b=R } P:V { n=x }"},
        {"rename a folder of recipes", "T { } V { n>T }", "Q:V { n=F::R } F::R:T { } F::S:V { n=F::F::R }",
         "recipeList::F", "recipeList::G", "T { } V { n>T }", "Q:V { n=G::R } G::R:T { } G::S:V { n=G::F::R }"},
        {"an inherited nested member is left behind", "T { } U { n>T } V(U) { }", "Q:V { n=R } P:U { n=R } R:T { }",
         "recipeList::R", "recipeList::S", "T { } U { n>T } V(U) { }", "Q:V { n=R } P:U { n=S } S:T { }"},
        {"renaming R beside R1 ends at what is no longer there", "T { } V { n>T }",
         "Q:V { n=R } P:V { n=R1 } R1:T { } O:V { n=R } R:T { }", "recipeList::R", "recipeList::X", "T { } V { n>T }",
         "Q:V { n=X } P:V { n=X1 } R1:T { } O:V { n=R } X:T { }"},
        {"a missing recipe ends the pass with success", "T { } V { n>T }", "Q:V { n=R } R:T { }", "recipeList::R",
         "recipeList::S", "T { } V { n>T }", "Q:V { n=R } S:T { }", "SUCCESS | ", "recipeList::Ghost"},
        {"numbers name recipes as well", "T { } V { n>T }", "Q:V { n=7 } 7:T { }", "recipeList::7", "recipeList::S",
         "T { } V { n>T }", "Q:V { n=S } S:T { }"},
    };
    for (auto const& scenario : scenarios)
    {
        configure(scenario.types, scenario.recipes, scenario.ghosts);
        EXPECT_EQ(edit(scenario.path, scenario.new_path), scenario.answer) << scenario.about;
        EXPECT_EQ(dump(host.config()), dump(configuration_of(scenario.types_after, scenario.recipes_after)))
            << scenario.about;
    }
}

TEST_F(DeleteRename, keeps_the_stored_paths_in_step)
{
    std::tuple<char const*, char const*, char const*> const cases[] = {
        {"recipeList::R", "recipeList::Z", "F::S F::Q (recipeList::Z1)"},
        {"recipeList::R1", "recipeList::Z", "R F::S F::Q Z"},
        {"recipeList::R1", "", "R F::S F::Q"},
        {"recipeList::F", "recipeList::G", "R G::S G::Q R1"},
        {"recipeList::F", "", "R R1"},
        {"recipeList::F::Q", "recipeList::F::S2", "R F::S R1 F::S2"},

        {"recipeTypeList::T", "", ""},
    };
    for (auto const& [path, new_path, stored] : cases)
    {
        configure("T { a:A }", "R:T { a=1 } F::S:T { a=1 } F::Q:T { a=1 } R1:T { a=1 }");
        edit(path, new_path);
        EXPECT_EQ(stored_recipes(), stored) << path << " to " << new_path;
    }
    // A folder is no recipe: as an entry of the list it would end the pass before M.
    configure("T { a:A }", "F::R:T { a=1 }");
    host.config() = configuration_of("T { a:A }", "F::R:T { a=1 } M:T { a=1 }");
    edit("recipeList::F", "recipeList::G");
    notify("recipeList::M");
    edit("recipeTypeList::T::members::a", "recipeTypeList::T::members::z");
    EXPECT_EQ(dump(host.config()), dump(configuration_of("T { z:A }", "G::R:T { z=1 } M:T { z=1 }")));

    // Nor is what stands inside an entry.
    configure("T { a:A }", "R:T { a=1 }");
    extension->changes().on_rename(extension->context(), "recipeList::R::values::a", "recipeList::R::values::z", "");
    extension->changes().on_rename(extension->context(), "recipeTypeList::T::members::b",
                                   "recipeTypeList::T::members::z", "");
    EXPECT_EQ(stored_recipes(), "R");
}

TEST_F(DeleteRename, loses_no_path_that_is_notified_meanwhile)
{
    std::string recipes = "X:T { } ";
    for (int i = 0; i < 300; ++i)
    {
        recipes += "N" + std::to_string(i) + ":T { } ";
    }
    auto const config = configuration_of("T { }", recipes);
    for (int round = 0; round < 30; ++round)
    {
        configure("T { }", "");
        std::atomic<bool> is_done = false;
        std::thread other(
            [&]
            {
                notify_all("recipeList", config["recipeList"], "values");
                is_done = true;
            });
        while (!is_done)
        {
            extension->changes().on_rename(extension->context(), "recipeList::X", "recipeList::X", "");
        }
        other.join();
        host.config() = config;
        auto const stored = stored_recipes();
        ASSERT_EQ(std::count(stored.begin(), stored.end(), ' '), 300) << stored;
    }
}

TEST_F(DeleteRename, answers_the_outcome_of_the_last_write)
{
    struct Case
    {
        std::set<std::size_t> failing;
        char const* answer;
        std::size_t writes;
    };
    auto const check = [&](std::vector<Case> const& cases, char const* types, char const* recipes, char const* path,
                           char const* new_path)
    {
        for (auto const& [failing, answer, writes] : cases)
        {
            configure(types, recipes);
            host.failing_writes = failing;
            EXPECT_EQ(edit(path, new_path), answer);
            EXPECT_EQ(host.config_writes.size(), writes) << answer;
        }
    };
    check({{{1}, "SUCCESS | ", 4},
           {{1, 2, 3}, "SUCCESS | ", 4},
           {{4}, "SERVER | DELETE_RENAME_PARTLY_FAILED: recipeList::S::values::a", 4},
           {{1, 4}, "SERVER | DELETE_RENAME_PARTLY_FAILED: recipeList::R::values::zrecipeList::S::values::a", 4},
           {{2, 3, 4},
            "SERVER | DELETE_RENAME_PARTLY_FAILED: "
            "recipeList::R::values::arecipeList::S::values::zrecipeList::S::values::a",
            4}},
          "T { a:A }", "R:T { a=1 } S:T { a=2 }", "recipeTypeList::T::members::a", "recipeTypeList::T::members::z");
    check({{{2}, "SUCCESS | ", 2}}, "T { a:A }", "R:T { a=1 } S:T { b=2 }", "recipeTypeList::T::members::a",
          "recipeTypeList::T::members::z");
    check({{{1, 3, 5}, "SUCCESS | ", 6},
           {{2}, "SERVER | DELETE_RENAME_PARTLY_FAILED: recipeTypeList::V::recipeTypeNames[1]", 2},
           {{1, 2},
            "SERVER | DELETE_RENAME_PARTLY_FAILED: "
            "recipeTypeList::V::recipeTypeNames[0]recipeTypeList::V::recipeTypeNames[1]",
            2},
           {{4}, "SERVER | DELETE_RENAME_PARTLY_FAILED: recipeTypeList::V::members::m::recipeType", 4},
           {{3, 4},
            "SERVER | DELETE_RENAME_PARTLY_FAILED: "
            "recipeTypeList::V::members::n::recipeTyperecipeTypeList::V::members::m::recipeType",
            4},
           {{1, 6}, "SERVER | DELETE_RENAME_PARTLY_FAILED: recipeList::S::recipeTypeName", 6},
           {{5, 6},
            "SERVER | DELETE_RENAME_PARTLY_FAILED: recipeList::R::recipeTypeNamerecipeList::S::recipeTypeName",
            6}},
          "T { a:A } V(T,T) { n>T m>T }", "R:T { } S:T { }", "recipeTypeList::T", "recipeTypeList::U");
    check({{{1}, "SERVER | DELETE_RENAME_PARTLY_FAILED: recipeTypeList::V::members::n", 1},
           {{3}, "SERVER | DELETE_RENAME_PARTLY_FAILED: recipeList::S", 3},
           {{2}, "SUCCESS | ", 3}},
          "T { a:A } V { n>T }", "R:T { } S:T { }", "recipeTypeList::T", "");
    check({{{1}, "SUCCESS | ", 2}, {{2}, "SERVER | recipeList::P", 2}, {{1, 2}, "SERVER | recipeList::P", 2}},
          "T { } V { n>T }", "Q:V { n=R } P:V { n=R } R:T { }", "recipeList::R", "");

    configure("T { }", "R:T { }");
    host.throwing_call = host.call_count + 1;
    EXPECT_EQ(edit("recipeList::R", ""), "UNEXPECTED | unexpected failure: host out of order");
}
