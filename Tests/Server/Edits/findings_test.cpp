#include "EditedProject.h"

#include "Configuration/tree.h"
#include "Editing/findings.h"
#include "Support/api_types.h"
#include "Json/Json.h"

#include <gtest/gtest.h>

namespace Ravik::Test
{
namespace
{

/// "kind PATH; " of each finding, notes in brackets, the lists shortened to T and R.
std::string shown(std::vector<Finding> const& findings)
{
    std::string all;
    for (auto const& finding : findings)
    {
        auto const in_types = finding.path.starts_with("recipeTypeList");
        auto const path = (in_types ? "T" : "R") + finding.path.substr(in_types ? 14 : 10);
        auto const text = to_text(finding.kind) + (" " + path);
        all += finding.is_note() ? "[" + text + "]; " : text + "; ";
        EXPECT_FALSE(finding.text.empty()) << path;
    }
    return all;
}

/// A project whose symbols are integers, but for Text and for Own, a variable of the server's own.
std::string file()
{
    auto text = project_file({{"k", R"({"type":"integer"})"},
                              {"m", R"({"type":"integer","maximum":10})"},
                              {"n", R"({"type":"integer"})"},
                              {"Text", R"({"type":"string"})"},
                              {"Own", R"({"type":"integer"})"}});
    auto const own = text.find(R"("Own":{"DOMAIN":"Line")");
    return text.replace(own + 7, 15, R"("DOMAIN":"RavikSrv")").replace(text.find("\"Own\":null") - 1, 11, "");
}

struct Case
{
    char const* about;
    /// What a store may hold although no edit makes it so.
    char const* configuration;
    char const* findings;
};

constexpr auto cases = std::to_array<Case>({
    {"nothing", "A { m } B(A) { n } D { k>A } | R1:A { m=1 } R2:B { m=2 n=2 } R3:D { k=R1 }", ""},
    {"an inherited type", "B(A) { } |", "reference T::B::recipeTypeNames[0]; "},
    {"a nested type", "A { k>A::X } |", "reference T::A::members::k::recipeType; "},
    {"a recipe's type", "| R1:A { m=1 }", "reference R::R1::recipeTypeName; "},
    {"a nested recipe", "A { m } B { k>A } C(B) { } | R1:C { k=R2 }", "reference R::R1::values::k; "},
    {"a symbol", "A { m:None } |", "symbol T::A::members::m::symbol; "},
    {"a variable of the server's own", "A { m:Own } | R1:A { m=1 }", "never written T::A::members::m::symbol; "},
    {"a value for its symbol", "A { m } | R1:A { m=11 }", "value R::R1::values::m; "},
    {"a default value", "A { m=11 } | R1:A { m=1 }", "entry T::A; "},
    {"stray values", "A { m } | R1:A { m=1 x=2 }", "[stray value R::R1::values::x]; "},
    {"no value", "A { m n=1 -k } | R1:A { }", "[no value R::R1::values::m]; "},
    {"an inherited member without a value", "A { m } B(A) { } | R1:B { }", "[no value R::R1::values::m]; "},
    {"no recipe", "A { m } B { k>A } | R1:B { k= } R2:B { }",
     "[no recipe R::R1::values::k]; [no recipe R::R2::values::k]; "},
});

/// What `check` finds in a configuration that stands in the store.
TEST(Findings, name_what_is_wrong)
{
    for (auto const& test : cases)
    {
        SCOPED_TRACE(test.about);
        TemporaryFolder const folder;
        folder.write("ravik.json", file());
        {
            auto const store = Store::open(folder.path() / "ravik.db", std::chrono::seconds(0));
            auto const configuration = configuration_of(std::string(test.configuration));
            store->begin();
            for (auto const* const list : {"recipeTypeList", "recipeList"})
            {
                Value const& entries = configuration[list];
                store->put(std::string(recipe_domain), list, nullptr);
                for (auto entry = entries.begin(); entry != entries.end(); ++entry)
                {
                    store->put(std::string(recipe_domain), Tree::join(list, entry.name()), &*entry);
                }
            }
            store->commit();
        }
        auto const project = Project::open(folder.path());
        EXPECT_EQ(shown(project->check(std::string(recipe_domain))), test.findings);
    }
}

TEST(Findings, of_schemas_and_of_what_they_make_wrong)
{
    EditedProject edited(configuration_of("A { m n } B(A) { } | R1:A { m=7 } R2:B { m=3 } R3:A { m=1 n=9 }"), file());
    for (auto const* const schema : {R"({"pattern":"("})", R"({"$ref":"#"})", R"({"type":"float"})",
                                     R"({"$ref":"ravik:general#/definitions/NONE"})"})
    {
        auto const set = edited.edit(std::string("T::A::members::m::schema = ") + schema);
        EXPECT_FALSE(set.made) << schema;
        EXPECT_NE(set.text.find("schema"), std::string::npos) << set.text;
        auto data = configuration_of("C { m } |");
        data["recipeTypeList"]["C"]["members"]["m"].insert("schema", Json::parse(schema));
        EXPECT_FALSE(edited.project->import(edited.domain, data, {}).made) << schema;
    }
    auto const tightened = edited.edit(R"(T::A::members::m::schema = {"maximum":5})");
    EXPECT_TRUE(tightened.succeeded()) << tightened.text;
    EXPECT_EQ(shown(tightened.warnings), "value R::R1::values::m; ");
    auto const again = edited.edit(R"(T::A::members::m::schema = {"maximum":2})");
    EXPECT_EQ(shown(again.warnings), "value R::R2::values::m; ") << "R1 was wrong before";
    EXPECT_EQ(shown(edited.project->check(edited.domain)),
              "value R::R1::values::m; [no value R::R1::values::n]; value R::R2::values::m; "
              "[no value R::R2::values::n]; ");
}

} // namespace
} // namespace Ravik::Test
