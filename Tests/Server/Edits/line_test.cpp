// A server that has joined a library and lacks a symbol that others map.

#include "EditedProject.h"

#include "Support/JoinedStore.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace Ravik::Test
{
namespace
{

/// A line may map k to z alone. U needs another symbol, too; V inherits U, N nests it, and D, M and the folder F are
/// what edits of mapped types and recipes carry along.
constexpr char const* configuration =
    "A { l m } B { k } C { k } U { k=3 far } V(U) { l } N { k n>U } D(B) { far } M { k n>A far } P { k=3 -far } F::W { "
    "far } F::G { k "
    "} "
    "| A1:A { l=1 m=2 } C1:C { k=1 } U1:U { k=1 } V1:V { k=1 l=1 } N1:N { k=1 n=U1 } M1:M { k=1 n=A1 } "
    "F::G1:F::G { k=1 } E::U2:U { far=7 } E::C2:C { k=1 } P1:P { } ";

std::string file(bool maps_all)
{
    std::vector<std::pair<std::string, std::string>> symbols{{"k", "{}"}, {"l", "{}"}, {"m", "{}"}};
    if (maps_all)
    {
        symbols.emplace_back("far", "{}");
        symbols.emplace_back("Line.Far", "{}");
    }
    return project_file(symbols);
}

/// A project whose store has joined a library as "north". k holds 5, and the records 2 and 3 of its history are of U1
/// and C1.
class JoinedLine
{
public:
    explicit JoinedLine(bool maps_all = false) : edited(configuration_of(configuration), file(true))
    {
        EXPECT_TRUE(edited.edit("R::U1::values::k = 4").succeeded());
        EXPECT_TRUE(edited.edit("R::C1::values::k = 4").succeeded());
        edited.project.reset();
        auto const folder = edited.folder.path();
        edited.folder.write("ravik.json", file(maps_all));
        auto store = Store::open(folder / "ravik.db", std::chrono::seconds(0));
        project = opened(folder / "ravik.json",
                         std::make_unique<JoinedStore>(
                             std::move(store), LibraryCopy{.library = "L", .server = {"north", "S"}, .position = {}}));
        project->configuration().set_gate(&m_gate);
        static_cast<void>(project->write_symbol("k", Value(5)));
    }

    std::string state() const { return dump(project->get(std::string(recipe_domain), "").value); }
    /// What the extension knows of: the recipes of each type, in its order.
    std::string listed() const
    {
        std::string all;
        for (auto const* const type : {"A", "B", "C", "U", "V", "N", "D", "M", "P", "F::W", "F::G"})
        {
            all +=
                dump(project->call(std::string(recipe_domain), "GetRecipes", parameters("recipeTypePath", type)).value);
        }
        return all;
    }

    EditedProject edited;
    std::unique_ptr<OpenProject> project;

private:
    OpenGate m_gate;
};

struct Case
{
    std::string name;
    std::function<ConfigurationOutcome(OpenProject&)> edit;
    /// The entry at which the edit is refused; empty where it is made.
    std::string refused_at;
};

Case text(char const* edit, char const* refused_at)
{
    return {edit, [edit](OpenProject& project) { return Test::edit(project, edit); }, refused_at};
}

Case import(char const* name, std::string const& notation, ImportOptions const& options, char const* refused_at)
{
    return {name,
            [=](OpenProject& project)
            { return project.import(std::string(recipe_domain), configuration_of(notation), options); },
            refused_at};
}

std::vector<Case> cases()
{
    std::string const domain(recipe_domain);
    std::string const without_far = "A { l } B { k } | A1:A { l=1 }";
    return {
        text("R::C1::values::k = 2", ""),
        text("T::C::members::k::enabled = false", ""),
        text("R::U1::values::k = 2", "recipeList::U1"),
        text("R::V1::values::k = 2", "recipeList::V1"),
        text("R::N1::values::k = 2", "recipeList::N1"),
        text(R"(R::C1 = {"recipeTypeName":"U","values":{"k":1}})", "recipeList::C1"),
        text(R"(R::E::U3 = {"recipeTypeName":"U","values":{"k":1}})", "recipeList::E::U3"),
        text("T::U::members::k::enabled = false", "recipeTypeList::U"),
        text(R"(T::C::members::x = {"symbol":"far","enabled":true})", "recipeTypeList::C"),
        text(R"(T::C::recipeTypeNames = ["V"])", "recipeTypeList::C"),
        text("T::U::members::far >", "recipeTypeList::U"),
        text("T::U >", "recipeTypeList::U"),
        text("R::U1 >", "recipeList::U1"),
        text("T::C >", ""),
        text("R::E >", "recipeList::E::U2"),
        text("T::F > T::H", "recipeTypeList::F::W"),
        text("T::F::G > T::G", ""),
        text("R::E::C2 > R::C2", ""),
        // What is carried along.
        text("T::B > T::B2", "recipeTypeList::D"),
        text("T::B >", "recipeTypeList::D"),
        text("R::A1 > R::A2", "recipeList::M1"),
        text("R::A1 >", "recipeList::M1"),
        text("T::C > T::C3", ""),
        import("an import of others", "X { k } | X1:X { k=1 } C1:C { k=7 }", {}, ""),
        import("an import that leaves it as it is", "U { k=3 far } X { k } |", {}, "recipeTypeList::U"),
        import("an import over a type", "U { k } |", {}, "recipeTypeList::U"),
        import("an import of a new type", "H::X { x:Line.Far } |", {}, "recipeTypeList::H::X"),
        import("an import of a recipe", "| X:U { k=1 }", {}, "recipeList::X"),
        import("a check of an import", "| X:U { k=1 }", {.dry_run = true}, "recipeList::X"),
        import("an import in place of all", without_far, {.replace = true}, "recipeTypeList::U"),
        {"a copy", [=](auto& project) { return project.copy(domain, "recipeList::C1", "recipeList::X", {}); }, ""},
        {"a copy of one", [=](auto& project) { return project.copy(domain, "recipeList::U1", "recipeList::X", {}); },
         "recipeList::X"},
        {"a rehearsed rename",
         [=](auto& project) { return project.rename(domain, "recipeList::U1", "recipeList::X", {.dry_run = true}); },
         "recipeList::U1"},
        {"a table", [=](auto& project) { return project.import_table(domain, "C", "recipe,k\nC1,9\n", {}); }, ""},
        {"a table of one", [=](auto& project) { return project.import_table(domain, "V", "recipe,k\nV1,9\n", {}); },
         "recipeList::V1"},
        {"a revert", [](auto& project) { return project.revert(3, {}); }, ""},
        {"a revert of one", [](auto& project) { return project.revert(2, {}); }, "recipeList::U1"},
        {"what the controllers hold", [](auto& project) { return project.save("C1", {}); }, ""},
        {"what the controllers hold, for one",
         [](auto& project) { return project.save("C1", {.target = "U1", .replace = true}); }, "recipeList::U1"},
    };
}

TEST(Line, refuses_edits_of_what_needs_a_symbol_that_it_lacks)
{
    for (auto const& each : cases())
    {
        SCOPED_TRACE(each.name);
        JoinedLine const line;
        auto const before = line.state();
        auto const listed = line.listed();
        auto const records = line.project->history({}).records.size();
        auto const outcome = each.edit(*line.project);
        auto const is_made = each.refused_at.empty();
        EXPECT_EQ(name(outcome.error), is_made ? "SUCCESS" : "SYMBOL_NOT_MAPPED") << outcome.text;
        EXPECT_EQ(line.state() == before, !is_made);
        if (!is_made)
        {
            EXPECT_EQ(outcome.path, each.refused_at) << outcome.text;
            auto const* const symbol = each.refused_at.ends_with("H::X") ? "\"Line.Far\"" : "\"far\"";
            EXPECT_NE(outcome.text.find(symbol), std::string::npos) << outcome.text;
            EXPECT_NE(outcome.text.find("the line \"north\""), std::string::npos) << outcome.text;
            EXPECT_EQ(line.listed(), listed);
            EXPECT_EQ(line.project->history({}).records.size(), records);
        }
    }
}

TEST(Line, refuses_what_extensions_write_to_what_needs_a_symbol_that_it_lacks)
{
    JoinedLine const line;
    auto const before = line.state();
    auto const listed = line.listed();
    auto const update = line.project->update({"P1", "U1", "C1"}, {});
    ASSERT_EQ(update.rows.size(), 3U);
    EXPECT_EQ(name(update.rows[0].error), "SYMBOL_NOT_MAPPED");
    EXPECT_NE(update.rows[0].text.find("the line \"north\" maps no symbol \"far\""), std::string::npos);
    EXPECT_EQ(name(update.rows[1].error), "SYMBOL_NOT_MAPPED") << update.rows[1].text;
    EXPECT_TRUE(update.rows[2].succeeded()) << update.rows[2].text;
    EXPECT_EQ(
        name(line.project->write_symbol("RavikRecipeManagement.Config::recipeList::U1::values::k", Value(9)).result),
        "SYMBOL_NOT_MAPPED");
    EXPECT_EQ(line.state(), before);
    EXPECT_EQ(line.listed(), listed);
    EXPECT_EQ(
        name(line.project->write_symbol("RavikRecipeManagement.Config::recipeList::C1::values::k", Value(9)).result),
        "SUCCESS");
}

TEST(Line, takes_back_what_was_written_already)
{
    TemporaryFolder const folder;
    SymbolTable const symbols;
    Validator validator;
    std::map<std::string, EntrySchemas> const schemas;
    Core core(symbols, validator,
              std::make_unique<JoinedStore>(Store::open(folder.path() / "ravik.db", std::chrono::seconds(0)),
                                            LibraryCopy{.library = "L", .server = {"north", "S"}, .position = {}}));
    OpenGate gate;
    core.configuration.set_gate(&gate);
    std::string const domain(recipe_domain);
    core.configuration.add_domain(domain, Value());
    History const history(core.configuration, {});
    Editor editor(core, history, symbols, validator, schemas);
    Configuration::Turn turn(core.configuration, domain);
    EXPECT_EQ(turn.write(domain, "", configuration_of("T { } |"), Tree::WriteMode::Merge), ErrorValue::SUCCESS);
    EXPECT_FALSE(editor.keep_to_line(turn));
    EXPECT_EQ(turn.write(domain, "", configuration_of("U { k } |"), Tree::WriteMode::Merge), ErrorValue::SUCCESS);
    auto const refusal = editor.keep_to_line(turn);
    EXPECT_EQ(name(refusal.error) + ' ' + refusal.path, "SYMBOL_NOT_MAPPED recipeTypeList::U");
    EXPECT_EQ(dump(core.configuration.tree(domain)), "{ }");
}

TEST(Line, edits_what_needs_symbols_that_it_maps_and_everything_without_a_library)
{
    for (auto const& each : cases())
    {
        SCOPED_TRACE(each.name);
        auto const outcome = each.edit(*JoinedLine(true).project);
        EXPECT_TRUE(outcome.succeeded()) << outcome.path << ": " << outcome.text;
    }
    JoinedLine line;
    line.project.reset();
    line.edited.reopen();
    auto const known = line.edited.edit("R::N1::values::k = 2");
    EXPECT_EQ(known.text.find("the line"), std::string::npos) << known.text;
    EXPECT_TRUE(line.edited.edit("R::U1 >").succeeded());
}

} // namespace
} // namespace Ravik::Test
